#include <gmock/gmock.h>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;

class MissionStagesTest : public ManagerTest {};

TEST_F(MissionStagesTest, StagesFollowOneAnotherAndEndInReverse) {
    ConfigText config;
    config.parallel = R"(["A"])";
    config.serial = R"(["B", "A"])";
    config.analyze = R"(["C", "A"])";
    config.optimize = R"(["B"])";
    config.compare = R"(["A", "B"])";
    config.versionMap = R"({"v2": "/tmp", "v1": "/"})";
    const Captured run = Run(config.Text());
    const std::string data = DataPath();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.err, CreationLines(data) +
                           "[ZarnManager] The qvt_tool_upgrade_display_version file " + data +
                           "env_info/qvt_tool_upgrade_display_version does not exist! \n");
    EXPECT_EQ(run.out, ListLines({{"A"}, {"B", "A"}, {"C", "A"}, {"B"}, {"A", "B"}}) +
                           "[ZarnManager] Options check for parallelCollector mode A passed!\n"
                           "[ZarnManager] Options check for collector mode B passed!\n"
                           "[ZarnManager] Options check for collector mode A passed!\n"
                           "[ZarnManager] Options check for comparator mode A passed!\n"
                           "[ZarnManager] Options check for comparator mode B passed!\n"
                           "[ZarnManager] parallelCollector mode A start ...\n"
                           "[ZarnManager] collector mode B start ...\n"
                           "[ZarnManager] collector mode A start ...\n"
                           "[ZarnManager] analyzers mode C start ...\n"
                           "[ZarnManager] analyzers mode A start ...\n"
                           "[ZarnManager] optimizers mode B start ...\n"
                           "[ZarnManager] comparator mode A start ...\n"
                           "[ZarnManager] comparator mode B start ...\n");
    EXPECT_THAT(
        journal,
        ElementsAre("build A", "build B", "build A", "build C", "build A", "build B",
                    "build A v1=/ v2=/tmp", "build B v1=/ v2=/tmp", "check A parallelCollector",
                    "check B collector", "check A collector", "check A comparator",
                    "check B comparator", "start A " + data, "start B " + data, "start A " + data,
                    "start C " + data, "start A " + data, "start B " + data, "start A " + data,
                    "start B " + data, "destroy B", "destroy A", "destroy B", "destroy A",
                    "destroy C", "destroy A", "destroy B", "destroy A"));
}

}  // namespace
}  // namespace zarn::test
