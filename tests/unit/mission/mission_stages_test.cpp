#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// For what comes at once, or never: no machine is so slow.
constexpr std::chrono::minutes kFarTooLong{5};

class MissionStagesTest : public ManagerTest {
protected:
    // Lines on the error stream that come before the stages.
    [[nodiscard]] std::string Before() const {
        return CreationLines(DataPath()) + NoToolVersionLine(DataPath());
    }
    const std::thread::id mainThread = std::this_thread::get_id();
    [[nodiscard]] std::string TimesFile() const {
        return "runs/zarn_data_" + times.front() + "/json/zarn_collector_start_end_timestamp.data";
    }
};

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

TEST_F(MissionStagesTest, CollectorsLeaveTheirTimes) {
    times = {"20230101120000123", "20230101120000200", "20230101120001300"};
    ConfigText config;
    config.serial = R"(["A"])";
    (void)Run(config.Text());
    EXPECT_EQ(root.Read(TimesFile()),
              "{\"startCollectorTime\":\"20230101120000200\","
              "\"endCollectorTime\":\"20230101120001300\"}\n");
}

TEST_F(MissionStagesTest, WithoutCollectorsThereAreNoTimes) {
    times = {"20230101120000123", ""};
    ConfigText config;
    config.optimize = R"(["A"])";
    (void)Run(config.Text());
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(std::filesystem::exists(root.Path() + TimesFile()));
}

TEST_F(MissionStagesTest, WithoutAStartTimeNothingIsCollected) {
    times = {"20230101120000123", ""};
    ConfigText config;
    config.parallel = R"(["A"])";
    config.analyze = R"(["A"])";
    EXPECT_EQ(Run(config.Text()).err,
              Before() +
                  "[ZarnManager] Failed to get startCollector time stamp!\n"
                  "[ZarnManager] Some Collector missions failed to start!\n");
    EXPECT_EQ(result, 0);
    EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(MissionStagesTest, WithoutAnEndTimeTheStageFails) {
    times = {"20230101120000123", "20230101120000200", ""};
    ConfigText config;
    config.parallel = R"(["A"])";
    config.serial = R"(["B"])";
    config.analyze = R"(["C"])";
    EXPECT_EQ(Run(config.Text()).err,
              Before() +
                  "[ZarnManager] Failed to get end Collector time stamp!\n"
                  "[ZarnManager] Some Collector missions failed to start!\n");
    EXPECT_EQ(result, 0);
    EXPECT_THAT(Starts(), ElementsAre("A " + DataPath(), "B " + DataPath()));
    EXPECT_FALSE(std::filesystem::exists(root.Path() + TimesFile()));
}

TEST_F(MissionStagesTest, TimesWithoutAFolderAreNoFailure) {
    ConfigText config;
    config.serial = R"(["A"])";
    onEvent = [this](const std::string& event) {
        if (event.rfind("start", 0) == 0) {
            std::filesystem::remove_all(DataPath() + "json");
        }
    };
    EXPECT_EQ(Run(config.Text()).err,
              Before() + "[ZarnManager] The jsonDir does not exist! " + DataPath() + "json/\n");
    EXPECT_EQ(result, 1);
}

TEST_F(MissionStagesTest, ParallelCollectorsRunTogetherOnThreadsOfTheirOwn) {
    ConfigText config;
    config.parallel = R"(["A", "B"])";
    config.serial = R"(["C", "C"])";
    std::mutex lock;
    std::condition_variable bothRun;
    std::set<std::thread::id> threads;
    onEvent = [&](const std::string& event) {
        if (event.rfind("start C", 0) == 0) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
        } else if (event.rfind("start", 0) == 0) {
            std::unique_lock<std::mutex> guard(lock);
            threads.insert(std::this_thread::get_id());
            bothRun.notify_all();
            EXPECT_TRUE(bothRun.wait_for(guard, kFarTooLong, [&threads] {
                return threads.size() == 2;
            })) << "the other one does not start while this one runs";
        }
    };
    const Captured run = Run(config.Text());
    EXPECT_EQ(result, 1);
    EXPECT_EQ(threads.count(mainThread), 0U);
    const std::vector<std::string> starts = Starts();
    ASSERT_EQ(starts.size(), 4U);
    EXPECT_THAT(std::vector<std::string>(starts.begin(), starts.begin() + 2),
                testing::UnorderedElementsAre("A " + DataPath(), "B " + DataPath()));
    EXPECT_THAT(run.out, EndsWith("[ZarnManager] parallelCollector mode A start ...\n"
                                  "[ZarnManager] parallelCollector mode B start ...\n"
                                  "[ZarnManager] collector mode C start ...\n"
                                  "[ZarnManager] collector mode C start ...\n"));
}

TEST_F(MissionStagesTest, AFailingParallelCollectorFailsNothing) {
    ConfigText config;
    config.parallel = R"(["A"])";
    config.analyze = R"(["B"])";
    failures = {"start A"};
    EXPECT_EQ(Run(config.Text()).err, Before());
    EXPECT_EQ(result, 1);
    EXPECT_THAT(Starts(), ElementsAre("A " + DataPath(), "B " + DataPath()));
}

struct StageCase {
    std::string ConfigText::*list;
    const char* family;     // in the line of a failing mission
    const char* stage;      // in the line of the failing stage
    const char* startWord;  // in the line of a starting mission
};

class FailingStageTest : public MissionStagesTest, public testing::WithParamInterface<StageCase> {};

TEST_P(FailingStageTest, TheRestOfTheStageRunsAndLaterStagesDoNot) {
    ConfigText config;
    config.parallel = "[1]";
    config.compare = R"(["C"])";  // the last stage, unless it is the one that fails
    config.*GetParam().list = R"(["A", "B", "A"])";
    config.more = R"(, "historyDataPath": ")" + DataPath() + "\"";
    failures = {"start A"};
    const Captured run = Run(config.Text());
    EXPECT_EQ(result, 0);
    const std::string failed =
        std::string("[ZarnManager] ") + GetParam().family + " mode A failed!\n";
    EXPECT_EQ(run.err, Before() + failed + failed + "[ZarnManager] Some " + GetParam().stage +
                           " missions failed to start!\n");
    const std::string start = std::string("[ZarnManager] ") + GetParam().startWord + " mode ";
    EXPECT_THAT(run.out, EndsWith(start + "A start ...\n" + start + "B start ...\n" + start +
                                  "A start ...\n"));
    EXPECT_EQ(Starts().size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(
    Stages, FailingStageTest,
    testing::Values(StageCase{&ConfigText::serial, "collector", "Collector", "collector"},
                    StageCase{&ConfigText::analyze, "analyzers", "Analyzer", "analyzers"},
                    StageCase{&ConfigText::optimize, "optimizers", "Optimizer", "optimizers"},
                    StageCase{&ConfigText::compare, "comparators", "Comparator", "comparator"}));

TEST_F(MissionStagesTest, WhatLeavesAMissionIsNotCaught) {
    onEvent = [](const std::string& event) {
        if (event.rfind("start", 0) == 0) {
            throw std::runtime_error("a defect");
        }
    };
    ConfigText config;
    config.parallel = R"(["A"])";
    EXPECT_EXIT(RunUncaptured(config.Text()), testing::KilledBySignal(SIGABRT), "a defect");
    config.parallel = "[]";
    config.serial = R"(["A"])";
    (void)Capture([&] { EXPECT_THROW(RunUncaptured(config.Text()), std::runtime_error); });
}

}  // namespace
}  // namespace zarn::test
