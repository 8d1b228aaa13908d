#include "analyzers/correlation/correlation_analyzer.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

// A tree with all sources, whose moments meet only where they are the same to the digit.
class AllSourcesTest : public CorrelationTest {
protected:
    AllSourcesTest() {
        WriteSample("20230101120001000", SampleDocument("20230101120001000", "5.0 5.0 "));
        WriteCpu("happen_time,total,\n'20230101120000500,40,\n'20230101120001000,90,\n",
                 CpuGlobalDocument({"20230101120000500"}), CpuCoreDocument({}));
        WriteDdr("happen_time,total,\n'20230101120001000,70,\n'20230101120001001,80,\n",
                 DdrDocument({"20230101120001001"}));
        WriteGlobalHistory(HistoryRow("1.000000") + HistoryRow("1.000001"),
                           SchedDocument({"1.000001"}));
    }

    [[nodiscard]] std::string Moved() const { return tree.PathOf(kTable); }
};

constexpr const char* kAllHeads =
    "happen_time,aicore_average,aicore_aicore0,peak_aicore_average,cpu_total,peak_cpu_total,"
    "ddr_total,peak_ddr_total,sched_global_cpu,sched_global_task_name,sched_global_wait_time,"
    "sched_global_sch_delay,sched_global_run_time,peak_sched_global,";

TEST_F(AllSourcesTest, StandSideBySideAndMeetOnlyAtTheVerySameMoment) {
    const Captured captured = Run("global", "10");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(Table(),
              Lines({kAllHeads, "'20230101120000500000,,,0,40,1,,0,,,,,,0,",
                     "'20230101120001000000,5.0,5.0,1,90,0,70,0,[0002],a[1],0.100,0.200,0.300,1,",
                     "'20230101120001000001,,,1,,0,,0,[0002],a[1],0.100,0.200,0.300,1,",
                     "'20230101120001001000,,,0,,0,80,1,,,,,,0,"}));
}

TEST_F(AllSourcesTest, WhatIsDoneIsPrintedAndLogged) {
    const Captured captured = Run();
    EXPECT_THAT(captured.out,
                MatchesRegex("\\[CorrelationAnalyzer\\] Create output directory successfully, the "
                             "dir is " +
                             tree.PathOf("csv/correlation") +
                             "\n"
                             "SystemStarUpTime:20230101120000\n"
                             "\\[CorrelationAnalyzer\\] Save aicore data successfully\n"
                             "\\[CorrelationAnalyzer\\] Save cpu data successfully\n"
                             "\\[CorrelationAnalyzer\\] Save ddr data successfully\n"
                             "\\[CorrelationAnalyzer\\] Save sched data successfully\n"
                             "\\[CorrelationAnalyzer\\] cost time: [0-9.e-]+s\n"));
    EXPECT_THAT(tree.Read(run_tree::kCostLog),
                MatchesRegex("\\[CorrelationAnalyzer\\] cost time: [0-9.e-]+s\n"));
    const std::string move = "mv " + Moved() + ".tmp " + Moved();
    EXPECT_THAT(runner.commands, ElementsAre(move, move, move, move));
    EXPECT_THAT(tree.NamesIn("csv/correlation"),
                ElementsAre("soc_correlation_ana_info_20230101120000000.csv"));
}

TEST_F(AllSourcesTest, AFaultInTheSectionIsToldOfAllSources) {
    const Captured captured = RunSection("{}");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[CorrelationAnalyzer] Error occurs when parsing config: [CorrelationAnalyzer] The "
              "analyzer param peak_interval_us is missing.\n"
              "[CorrelationAnalyzer] Failed to parse ddr config.\n");
    EXPECT_FALSE(tree.Has("csv/correlation"));
}

TEST_F(AllSourcesTest, AFolderThatCannotBeMade) {
    tree.Remove("csv");
    tree.PutInTheWay("csv");
    EXPECT_THAT(Run().err,
                testing::EndsWith("[CorrelationAnalyzer] Failed to create directory. \n"
                                  "[CorrelationAnalyzer] Failed to initialize file path.\n"));
    EXPECT_FALSE(result);
}

TEST_F(AllSourcesTest, AMomentThatCannotBeHad) {
    host.failingTick = 0;
    EXPECT_EQ(Run().err,
              "[CorrelationAnalyzer] Failed to get curr timeStamp.\n"
              "[CorrelationAnalyzer] Failed to initialize file path.\n");
    EXPECT_FALSE(result);
}

TEST_F(AllSourcesTest, AnInterruptBeforeTheReading) {
    stopFlag = 1;
    EXPECT_EQ(Run().err,
              "[CorrelationAnalyzer] Failed to process analyzer because of stopFlag.\n"
              "[CorrelationAnalyzer] Failed to process info.\n");
    EXPECT_FALSE(result);
    EXPECT_FALSE(tree.Has(kTable));
    EXPECT_FALSE(tree.Has(run_tree::kCostLog));
}

TEST_F(AllSourcesTest, ATableThatCannotBeOpened) {
    tree.MakeFolder(kTable);
    EXPECT_EQ(Run().err,
              "[CorrelationAnalyzer] Failed to open file for writting time stamp.\n"
              "[CorrelationAnalyzer] Failed to write time stamp.\n"
              "[CorrelationAnalyzer] Failed to save info.\n");
    EXPECT_FALSE(result);
}

// It costs the source's columns, and the caller goes on without a word of its own.
TEST_F(AllSourcesTest, AMoveThatFailsCostsItsColumns) {
    runner.failing = 1;
    const Captured captured = Run("global", "10");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[CorrelationAnalyzer] Failed to save cpu data.\n");
    EXPECT_THAT(captured.out, Not(HasSubstr("Save cpu data")));
    EXPECT_EQ(Table().substr(0, Table().find('\n')),
              "happen_time,aicore_average,aicore_aicore0,peak_aicore_average,ddr_total,"
              "peak_ddr_total,sched_global_cpu,sched_global_task_name,sched_global_wait_time,"
              "sched_global_sch_delay,sched_global_run_time,peak_sched_global,");
}

TEST_F(AllSourcesTest, MovesThatAllFailLeaveTheMoments) {
    runner.allFail = true;
    EXPECT_EQ(Run().err,
              "[CorrelationAnalyzer] Failed to save aicore data.\n"
              "[CorrelationAnalyzer] Failed to save cpu data.\n"
              "[CorrelationAnalyzer] Failed to save ddr data.\n"
              "[CorrelationAnalyzer] Failed to save sched data.\n");
    EXPECT_TRUE(result);
    EXPECT_EQ(Table(), Lines({"happen_time,", "'20230101120000500000,", "'20230101120001000000,",
                              "'20230101120001000001,", "'20230101120001001000,"}));
    EXPECT_THAT(tree.Read(kTable + ".tmp"), HasSubstr("happen_time,sched_global_cpu,"));
}

TEST_F(AllSourcesTest, ATableInTheMakingThatCannotBeOpened) {
    tree.Write(kTable + ".tmp/in_the_way", "");
    EXPECT_EQ(Run().err,
              CannotSave("aicore") + CannotSave("cpu") + CannotSave("ddr") + CannotSave("sched"));
    EXPECT_TRUE(result);
}

TEST_F(AllSourcesTest, AnOldTableInTheMakingIsReplaced) {
    tree.Write(kTable + ".tmp", std::string(100000, 'x'));
    EXPECT_EQ(Run().err, "");
    EXPECT_EQ(Table().substr(0, Table().find('\n')), kAllHeads);
    EXPECT_FALSE(tree.Has(kTable + ".tmp"));
}

TEST_F(AllSourcesTest, AnAnalyzerMayRunAgain) {
    EXPECT_EQ(Run().err, "");
    const std::string first = Table();
    EXPECT_EQ(Run().err, "");
    EXPECT_EQ(Table(), first);
}

TEST_F(CorrelationTest, AnEmptyTreeGivesTheHeadAlone) {
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, kNoSamples + NoTable("cpu") + NoTable("ddr") + NoHistory() +
                                CannotSave("aicore") + CannotSave("cpu") + CannotSave("ddr") +
                                CannotSave("sched"));
    EXPECT_EQ(Table(), "happen_time,\n");
}

TEST_F(CorrelationTest, ATreeThatIsMissingIsToldSourceBySource) {
    tree.Remove("json");
    tree.Remove("raw_data");
    tree.Remove("csv");
    EXPECT_THAT(Run().err, testing::StartsWith("Can not open " + tree.PathOf("json/") + "\n" +
                                               kNoSamples + NoTable("cpu")));
    EXPECT_TRUE(result);
    EXPECT_EQ(Table(), "happen_time,\n");
}

// The path of an old tree may hold anything.
TEST(CorrelationPaths, AreNoCommands) {
    const TempDir directory;
    const RunTree tree(directory.Path() + "it's; a tree/");
    tree.Write("raw_data/ddr/soc_ddr_ana_info_1_7.csv",
               "happen_time,total,\n'20230101120001000,70,\n");
    FakeHost host;
    host.otherRunner = &SystemCommandRunner();
    JsonDocument config;
    ASSERT_TRUE(
        ParseJson(R"({"CorrelationAnalyzer":{"peak_interval_us":7,"sched":"core"}})", config));
    CorrelationAnalyzer analyzer(CorrelationAnalyzer::kName, host.Get());
    const StopFlag stopFlag{0};
    bool good = false;
    (void)Capture([&] { good = analyzer.Start(config, tree.Path(), &stopFlag); });
    EXPECT_TRUE(good);
    EXPECT_EQ(tree.Read("csv/correlation/soc_correlation_ana_info_20230101120000000.csv"),
              "happen_time,ddr_total,\n'20230101120001000000,70,\n");
}

}  // namespace
}  // namespace zarn::test
