#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::KilledBySignal;

class ConfigIntakeTest : public ManagerTest {
protected:
    // The run ended before there was anything on disk, with these lines and no others.
    void ExpectRejected(const std::string& config, const std::string& errorLines) {
        const Captured run = Run(config);
        EXPECT_EQ(result, 0) << config;
        EXPECT_EQ(run.out, "") << config;
        EXPECT_EQ(run.err, errorLines) << config;
        EXPECT_FALSE(std::filesystem::exists(root.Path() + "runs")) << config;
        EXPECT_THAT(journal, IsEmpty());
    }
};

TEST_F(ConfigIntakeTest, TextThatIsNoJsonIsNotParsed) {
    const std::string lines =
        "[ZarnManager] Exception occurs while parsing json file.\n"
        "[ZarnManager] Failed to load json config file!\n";
    const std::string good = ConfigText().Text();
    ExpectRejected("", lines);
    ExpectRejected(" \n\t", lines);
    ExpectRejected(good.substr(0, good.size() - 1), lines);
    ExpectRejected(good + "}", lines);
    ExpectRejected(good + good, lines);
    ExpectRejected(good + "// a comment", lines);
    ExpectRejected(R"({"ManagerParam": {},})", lines);
    ExpectRejected(good + std::string(1, '\0'), lines);
    ExpectRejected(std::string(1, '\0') + good, lines);
    ExpectRejected(std::string("{\"Manager\0Param\": {}}", 21), lines);
    ExpectRejected("{not json; at all}", lines);
}

TEST_F(ConfigIntakeTest, PathsThatAreNotAllowedAreNotOpened) {
    ManagerSeams seams = Seams();
    seams.readable = [](const std::string&) { return false; };
    const Captured run = Run(ConfigText().Text(), seams);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "[ZarnManager] The input config file: [" + ConfigPath() +
                           "] is invalid!\n[ZarnManager] Failed to load json config file!\n");
}

TEST_F(ConfigIntakeTest, WhatIsNoFileCannotBeOpened) {
    const Captured run = Capture([this] {
        ZarnManager manager(root.Path(), Seams());
        result = manager.Start();
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(run.err, "[ZarnManager] Could not open the file - '" + root.Path() +
                           "'\n[ZarnManager] Failed to load json config file!\n");
}

TEST_F(ConfigIntakeTest, HazardousSymbolsAreFoundAnywhere) {
    const auto lines = [](const std::string& symbol) {
        return "[ZarnManager] Hazardous symbol \"" + symbol +
               "\" detected!\n[ZarnManager] Potential command injection risk! Please check config "
               "file!\n";
    };
    ConfigText versions;
    versions.versionMap = R"({"v": "/opt/usr/a&b/"})";
    ExpectRejected(versions.Text(), lines("&"));
    ExpectRejected(R"({"a|b": 1})", lines("|"));
    ExpectRejected(R"({"a": ";|&"})", lines(";"));
    ExpectRejected(R"([[["&;"]]])", lines("&"));
    ExpectRejected(R"("|")", lines("|"));
}

TEST_F(ConfigIntakeTest, OtherSymbolsOfTheShellAreNoHazard) {
    ConfigText config;
    config.more = R"(, "note": "#,*?~<>^()[]{}$`!\\ \u0026 \u003b")";
    EXPECT_EQ(Run(config.Text()).err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()));
    EXPECT_EQ(result, 1);
}

struct ParamCase {
    const char* config;
    const char* line;
};

class ManagerParamTest : public ManagerTest, public testing::WithParamInterface<ParamCase> {};

TEST_P(ManagerParamTest, FirstDefectIsTold) {
    const Captured run = Run(GetParam().config);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, std::string("[ZarnManager] ") + GetParam().line +
                           "\n[ZarnManager] Failed to parse mission type!\n");
    EXPECT_FALSE(std::filesystem::exists(root.Path() + "runs"));
}

constexpr const char* kNoArray = "Error occurs: Invalid mission type";
constexpr const char* kNoCompareType = "Error occurs: Invalid compareMode setting type";

INSTANTIATE_TEST_SUITE_P(
    Cases, ManagerParamTest,
    testing::Values(ParamCase{"{}", "Failed to find ManagerParam Parameter!"},
                    ParamCase{R"({"managerParam": {}})", "Failed to find ManagerParam Parameter!"},
                    ParamCase{R"({"ManagerParam": {}})",
                              "Failed to find parallelCollectMode Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": 1}})",
                              "Failed to find collectMode Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": 1, "collectMode": 1}})",
                              "Failed to find analyzeMode Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": 1, "collectMode": 1,
                      "analyzeMode": 1}})",
                              "Failed to find optimizeMode Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": {},
                      "analyzeMode": [], "optimizeMode": []}})",
                              kNoArray},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": "CpuAnalyzer", "optimizeMode": []}})",
                              kNoArray},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": null}})",
                              kNoArray},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": true, "collectMode": [],
                      "analyzeMode": [], "optimizeMode": []}})",
                              kNoArray},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": []}})",
                              "Failed to find compareMode Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": [], "compareMode": []}})",
                              "Invalid compareMode mission type!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": [], "compareMode": {}}})",
                              "Failed to find versionMap Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": [], "compareMode": {"versionMap": 1}}})",
                              "Failed to find comparatorName Parameter!"},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": [],
                      "compareMode": {"versionMap": {}, "comparatorName": "A"}}})",
                              kNoCompareType},
                    ParamCase{R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
                      "analyzeMode": [], "optimizeMode": [],
                      "compareMode": {"versionMap": [], "comparatorName": []}}})",
                              kNoCompareType}));

TEST_F(ConfigIntakeTest, ElementsThatAreNoNamesDisappearFromTheLists) {
    ConfigText config;
    config.parallel = R"([1, "A", null, ["B"], {"C": 1}, true])";
    config.serial = R"([1])";
    config.analyze = R"(["A", 2.5, "B"])";
    config.optimize = R"([false, "C"])";
    config.compare = R"(["A", "A", 0])";
    const Captured run = Run(config.Text());
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.out.rfind("[ZarnManager] parallelCollectMode:  A \n"
                            "[ZarnManager] collectMode: \n"
                            "[ZarnManager] analyzeMode:  A  B \n"
                            "[ZarnManager] optimizeMode:  C \n"
                            "[ZarnManager] compareMode:  A  A \n",
                            0),
              0U)
        << run.out;
    const std::string data = DataPath();
    EXPECT_THAT(Starts(), ElementsAre("A " + data, "A " + data, "B " + data, "C " + data,
                                      "A " + data, "A " + data));
}

TEST_F(ConfigIntakeTest, OtherTopLevelKeysAreIgnored) {
    const std::string good = ConfigText().Text();
    (void)Run(good.substr(0, good.size() - 1) + R"(, "Other": [1], "CpuCollector": null})");
    EXPECT_EQ(result, 1);
}

// No message softens this: the JSON library's own assertion ends the process.
TEST_F(ConfigIntakeTest, SectionsThatAreNoObjectsEndTheProcess) {
    for (const char* config : {"[]", "1", "null", "\"text\"", R"({"ManagerParam": []})",
                               R"({"ManagerParam": "A"})", R"({"ManagerParam": 1})"}) {
        EXPECT_EXIT(RunUncaptured(config), KilledBySignal(SIGABRT), "JSON assertion .* failed")
            << config;
    }
}

}  // namespace
}  // namespace zarn::test
