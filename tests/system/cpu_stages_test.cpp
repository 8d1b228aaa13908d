#include <gmock/gmock.h>

#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"

// The stages with the CPU missions in them: what the manager makes of their results, of an
// interrupt and of earlier runs.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kFinished = "[Main] Collection jobs finished.\n";
constexpr const char* kTimesFile = "json/zarn_collector_start_end_timestamp.data";

class CpuStagesTest : public testing::Test {
protected:
    CpuStagesTest() { AddRecordedCpuTools(sandbox); }

    [[nodiscard]] std::string Config(const ConfigText& lists) const {
        return lists.Text({{"CpuCollector", collector},
                           {"CpuAnalyzer", analyzer},
                           {"CpuComparator", R"({"job": ["global"], "process": []})"}});
    }

    // A tree of an earlier run, as the program calls it.
    std::string Collect() {
        ConfigText lists;
        lists.serial = R"(["CpuCollector"])";
        EXPECT_EQ(ErrorsOfMissions(sandbox.Run(Config(lists))), "");
        return sandbox.RunDirInside();
    }

    Sandbox sandbox;
    std::string collector = R"({"job": ["global"], "interval": 1.0, "count": 3, "process": [],
                                "thread_collector": false, "json_output": true})";
    std::string analyzer =
        R"({"job": ["global"], "peak_trought_threshold": 0.2, "process_set": {}})";
};

TEST_F(CpuStagesTest, CollectorsComeBeforeAnalyzersAndThoseBeforeComparators) {
    ConfigText lists;
    lists.parallel = R"(["CpuCollector"])";
    lists.analyze = R"(["CpuAnalyzer"])";
    lists.compare = R"(["CpuComparator"])";
    lists.versionMap = R"({"before": ")" + Collect() + "\"}";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(ErrorsOfMissions(run), "");
    const std::size_t checked = run.out.find(
        "[ZarnManager] Options check for parallelCollector mode CpuCollector passed!\n"
        "[ZarnManager] Options check for comparator mode CpuComparator passed!\n"
        "[ZarnManager] parallelCollector mode CpuCollector start ...\n");
    const std::size_t analyzed =
        run.out.find("[ZarnManager] analyzers mode CpuAnalyzer start ...\n");
    const std::size_t compared =
        run.out.find("[ZarnManager] comparator mode CpuComparator start ...\n");
    EXPECT_LT(checked, analyzed);
    EXPECT_LT(analyzed, compared);
    EXPECT_LT(compared, run.out.size());
    EXPECT_THAT(run.out, EndsWith(kFinished));
    EXPECT_THAT(sandbox.Read(kTimesFile),
                testing::MatchesRegex("\\{\"startCollectorTime\":\"[0-9]{17}\","
                                      "\"endCollectorTime\":\"[0-9]{17}\"\\}\n"));
    EXPECT_THAT(sandbox.Read("env_info/time_cost.log"),
                testing::MatchesRegex("\\[CpuCollector\\] cost time: [0-9.e-]+s\n"
                                      "\\[CpuAnalyzer\\] cost time: [0-9.e-]+s\n"
                                      "\\[CpuComparator\\] cost time: [0-9.e-]+s\n"));
}

// A number where a boolean is read is no case that a message covers.
TEST_F(CpuStagesTest, ANumberInPlaceOfABooleanEndsTheProcess) {
    collector = R"({"job": ["global"], "interval": 1.0, "count": 3, "process": [],
                    "thread_collector": 1, "json_output": false})";
    ConfigText lists;
    lists.serial = R"(["CpuCollector"])";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_TRUE(run.Aborted()) << run.waitStatus;
    EXPECT_THAT(run.err, HasSubstr("JSON assertion"));
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), Config(lists));
}

TEST_F(CpuStagesTest, EveryIllegalCollectorSectionIsTold) {
    collector = "{}";
    ConfigText lists;
    lists.parallel = R"(["CpuCollector"])";
    lists.serial = R"(["CpuCollector"])";
    const RunResult run = sandbox.Run(Config(lists));
    const std::string reason =
        "[CpuCollector] Failed to parse 'job' field in config file.\n"
        "[CpuCollector] Error occurs: Invalid CpuCollector param type\n";
    EXPECT_EQ(ErrorsOfMissions(run),
              reason +
                  "[ZarnManager] Options check for parallelCollector mode CpuCollector failed!\n" +
                  reason +
                  "[ZarnManager] Options check for collector mode CpuCollector failed!\n"
                  "[ZarnManager] Some illegal config settings found, failed to start !\n");
    EXPECT_THAT(run.out, EndsWith(kFinished));
}

TEST_F(CpuStagesTest, AnInterruptDuringCollectionLetsEveryStageStartAndEnd) {
    sandbox.Tool("top", "sandbox-event interrupt\nexec recorded-top\n");
    ConfigText lists;
    lists.parallel = R"(["CpuCollector"])";
    lists.serial = R"(["CpuCollector", "CpuCollector"])";
    lists.analyze = R"(["CpuAnalyzer"])";
    lists.compare = R"(["CpuComparator"])";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_TRUE(run.Succeeded());
    for (const char* line : {"[ZarnManager] parallelCollector mode CpuCollector start ...\n",
                             "[ZarnManager] collector mode CpuCollector start ...\n",
                             "[ZarnManager] Signal Interactive attention received.\n"
                             "[ZarnManager] Wait until the execution is complete.\n"}) {
        EXPECT_THAT(run.out, HasSubstr(line));
    }
    EXPECT_THAT(run.out, EndsWith(kFinished));
    EXPECT_THAT(sandbox.Read(kTimesFile), HasSubstr("endCollectorTime"));
}

TEST_F(CpuStagesTest, AHistoryTreeIsAnalysedInPlaceOfTheNewOne) {
    const std::string history = Collect();
    const RunTree historyTree = sandbox.Tree();
    ConfigText lists;
    lists.analyze = R"(["CpuAnalyzer"])";
    lists.more = R"(, "historyDataPath": ")" + history + "\"";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_THAT(run.out, HasSubstr("[ZarnManager] The historyDataPath is " + history +
                                   "\n[ZarnManager] analyzers mode CpuAnalyzer start ...\n"));
    EXPECT_THAT(run.out,
                HasSubstr("[ZarnManager] The historyDataPath is " + history + "\n" + kFinished))
        << "asked for again by the optimizers";
    EXPECT_THAT(sandbox.Tree().Names(), testing::Each(testing::StartsWith("env_info/")));
    EXPECT_FALSE(sandbox.Tree().Has("env_info/time_cost.log"));
    EXPECT_THAT(historyTree.Names(), testing::Contains(HasSubstr("json/soc_cpu_ana_global_")));
    EXPECT_THAT(historyTree.Read("env_info/time_cost.log"), HasSubstr("[CpuAnalyzer] cost time: "));
}

TEST_F(CpuStagesTest, WithoutAHistoryPathThereIsNothingToAnalyse) {
    ConfigText lists;
    lists.analyze = R"(["CpuAnalyzer"])";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(ErrorsOfMissions(run),
              "[ZarnManager] historyDataPath param not exist!\n"
              "[ZarnManager] get history data path failed!\n"
              "[ZarnManager] Some Analyzer missions failed to start!\n");
    EXPECT_THAT(run.out, Not(HasSubstr("analyzers mode CpuAnalyzer start")));
    EXPECT_THAT(run.out, EndsWith(kFinished));
}

TEST_F(CpuStagesTest, AHistoryPathMustLieUnderOptUsr) {
    ConfigText lists;
    lists.analyze = R"(["CpuAnalyzer"])";
    lists.more = R"(, "historyDataPath": "/tmp/")";
    EXPECT_EQ(ErrorsOfMissions(sandbox.Run(Config(lists))),
              "/tmp not a single file in /opt/usr/\n"
              "[ZarnManager] The input historyDataPath [/tmp/] is invalid!\n"
              "[ZarnManager] get history data path failed!\n"
              "[ZarnManager] Some Analyzer missions failed to start!\n");
    lists.more = R"(, "historyDataPath": "/opt/usr/none/")";
    EXPECT_EQ(ErrorsOfMissions(sandbox.Run(Config(lists))),
              "Invalid file path: /opt/usr/none/\n"
              "[ZarnManager] The input historyDataPath [/opt/usr/none/] is invalid!\n"
              "[ZarnManager] get history data path failed!\n"
              "[ZarnManager] Some Analyzer missions failed to start!\n");
}

TEST_F(CpuStagesTest, AFailedAnalyzerKeepsTheComparatorsFromStarting) {
    analyzer = "{}";
    ConfigText lists;
    lists.serial = R"(["CpuCollector"])";
    lists.analyze = R"(["CpuAnalyzer", "CpuAnalyzer"])";
    lists.compare = R"(["CpuComparator"])";
    const RunResult run = sandbox.Run(Config(lists));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, EndsWith("[ZarnManager] analyzers mode CpuAnalyzer failed!\n"
                                  "[ZarnManager] Some Analyzer missions failed to start!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("comparator mode CpuComparator start")));
}

}  // namespace
}  // namespace zarn::test
