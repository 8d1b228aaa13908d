#include <gmock/gmock.h>

#include <filesystem>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MissionObjectsTest : public ManagerTest {
protected:
    // The run ends at the building of missions with this line.
    void ExpectNotCreated(const ConfigText& config, const std::string& line) {
        journal.clear();
        const Captured run = Run(config.Text());
        EXPECT_EQ(result, 0);
        EXPECT_EQ(run.err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()) +
                               "[ZarnManager] " + line +
                               "\n[ZarnManager] Failed to create mission object!\n");
        EXPECT_THAT(Starts(), IsEmpty());
        EXPECT_EQ(root.Read("runs/zarn_data_20230101120000123/env_info/zarn_config.json"),
                  config.Text());
    }
};

TEST_F(MissionObjectsTest, AnUnknownNameEndsTheRunBeforeAnyMissionStarts) {
    ConfigText config;
    config.optimize = R"(["B", "Missing"])";
    config.compare = R"(["Missing"])";
    ExpectNotCreated(config, "Not a supported optimizer type: Missing");
    EXPECT_THAT(journal, ElementsAre("build B", "destroy B"));

    config.analyze = R"(["C", "a", "A"])";
    ExpectNotCreated(config, "Not a supported analyzer type: a");
    EXPECT_THAT(journal, ElementsAre("build C", "destroy C"));

    config.serial = R"(["A", "A ", "Other"])";
    ExpectNotCreated(config, "Not a supported collector type: A ");
    EXPECT_THAT(journal, ElementsAre("build A", "destroy A"));

    config.parallel = R"(["", "A"])";
    ExpectNotCreated(config, "Not a supported collector type: ");
    EXPECT_THAT(journal, IsEmpty());
}

TEST_F(MissionObjectsTest, AnUnknownComparatorIsToldAfterTheVersions) {
    ConfigText config;
    config.compare = R"(["A", "Missing", "B"])";
    config.versionMap = R"({"v1": "/"})";
    ExpectNotCreated(config, "Not a supported comparator type: Missing");
    EXPECT_THAT(journal, ElementsAre("build A v1=/", "destroy A"));
    config.versionMap = R"({"v1": 1})";
    ExpectNotCreated(config, "the value of comparator version map should be a string!");
    EXPECT_THAT(journal, IsEmpty());
}

TEST_F(MissionObjectsTest, VersionsAreExistingDirectories) {
    const std::string file = root.Write("file", "");
    ConfigText config;
    config.compare = R"(["A"])";
    config.versionMap = R"({"v1": "/", "v2": null})";
    ExpectNotCreated(config, "the value of comparator version map should be a string!");
    config.versionMap = R"({"v1": "/", "v2": "/nowhere", "v3": 1})";
    ExpectNotCreated(config, "the dir of version is not valid!");
    config.versionMap = R"({"v1": ""})";
    ExpectNotCreated(config, "the dir of version is not valid!");
    config.versionMap = R"({"v1": "/", "the v2": ")" + file + R"("})";
    ExpectNotCreated(
        config, "the dir of version: the v2 is not a directory, should input a valid directory!");
}

TEST_F(MissionObjectsTest, VersionsReachEveryComparator) {
    ConfigText config;
    config.compare = R"(["B", "A"])";
    config.versionMap = R"({"v2": "/tmp", "v1": "/tmp/", "v2": "/"})";
    (void)Run(config.Text());
    EXPECT_EQ(result, 1);
    journal.resize(2);
    EXPECT_THAT(journal, ElementsAre("build B v1=/tmp/ v2=/tmp", "build A v1=/tmp/ v2=/tmp"));
}

TEST_F(MissionObjectsTest, NoVersionsAreVersionsEnough) {
    ConfigText config;
    config.compare = R"(["A"])";
    (void)Run(config.Text());
    EXPECT_EQ(result, 1);
    EXPECT_EQ(journal.front(), "build A");
}

TEST_F(MissionObjectsTest, WithoutComparatorsTheVersionsAreNotLookedAt) {
    ConfigText config;
    config.versionMap = R"({"v1": 1, "v2": "/nowhere"})";
    EXPECT_EQ(Run(config.Text()).err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()));
    EXPECT_EQ(result, 1);
}

TEST_F(MissionObjectsTest, EveryAppearanceOfANameIsAMission) {
    ConfigText config;
    config.parallel = R"(["A", "A"])";
    config.serial = R"(["A"])";
    (void)Run(config.Text());
    EXPECT_EQ(Starts().size(), 3U);
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "build A"), 3);
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "destroy A"), 3);
}

TEST_F(MissionObjectsTest, EveryIllegalSectionIsListed) {
    ConfigText config;
    config.parallel = R"(["A", "B"])";
    config.serial = R"(["B", "C"])";
    config.analyze = R"(["A"])";
    config.optimize = R"(["A"])";
    config.compare = R"(["C", "A"])";
    failures = {"check B", "check C"};
    const Captured run = Run(config.Text());
    EXPECT_EQ(result, 0);
    EXPECT_EQ(run.err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()) +
                           "[ZarnManager] Options check for parallelCollector mode B failed!\n"
                           "[ZarnManager] Options check for collector mode B failed!\n"
                           "[ZarnManager] Options check for collector mode C failed!\n"
                           "[ZarnManager] Options check for comparator mode C failed!\n"
                           "[ZarnManager] Some illegal config settings found, failed to start !\n");
    EXPECT_EQ(run.out, ListLines({{"A", "B"}, {"B", "C"}, {"A"}, {"A"}, {"C", "A"}}) +
                           "[ZarnManager] Options check for parallelCollector mode A passed!\n"
                           "[ZarnManager] Options check for comparator mode A passed!\n");
    EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(MissionObjectsTest, OneIllegalSectionOfAnyKindEndsTheRun) {
    failures = {"check B"};
    const std::vector<std::pair<std::string ConfigText::*, std::string>> kinds = {
        {&ConfigText::parallel, "parallelCollector"},
        {&ConfigText::serial, "collector"},
        {&ConfigText::compare, "comparator"}};
    for (const auto& [list, modeName] : kinds) {
        ConfigText config;
        config.*list = R"(["B"])";
        const Captured run = Run(config.Text());
        EXPECT_EQ(result, 0) << modeName;
        EXPECT_EQ(run.err,
                  CreationLines(DataPath()) + NoToolVersionLine(DataPath()) +
                      "[ZarnManager] Options check for " + modeName +
                      " mode B failed!\n"
                      "[ZarnManager] Some illegal config settings found, failed to start !\n");
    }
    EXPECT_THAT(Starts(), IsEmpty());
}

}  // namespace
}  // namespace zarn::test
