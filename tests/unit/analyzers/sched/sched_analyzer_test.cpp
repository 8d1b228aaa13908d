#include "analyzers/sched/sched_analyzer.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/ordinary_rights.h"
#include "tests/unit/analyzers/sched/sched_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kBoot = R"("systemStartUpTime":"20230101110000")";
constexpr const char* kDone = "[SchedAnalyzer] Success:: SchedAnalyzer has analyzed raw data!\n";

std::string HeadOf(const std::string& eventId, const std::string& objectId) {
    return R"({"eventId":")" + eventId + R"(","happenTime":"20230101120000000","objectId":")" +
           objectId + R"(","content":[)";
}

std::string LatencyObject(const std::string& task, const std::string& delay,
                          const std::string& at) {
    return R"({"task":")" + task +
           R"(","runtime":"1.000 ms","switches":"2","averageDelay":"0.100 ms","maximumDelay":")" +
           delay + R"( ms","maximumDelayAt":")" + at + R"( s"})";
}

std::string Target(const std::string& task, const std::string& average, const std::string& most,
                   const std::string& rows) {
    return R"({"target":")" + task + R"(","avgDelay":")" + average + R"( ms","maxDelay":")" + most +
           R"( ms",)" + kBoot + R"(,"sortedList":[)" + rows + "]}";
}

std::string HistoryRow(const std::string& task, const std::string& time, const std::string& wait,
                       const std::string& delay, const std::string& run) {
    return R"({"task":")" + task + R"(","time":")" + time + R"( s","cpu":"[0001]","waitTime":")" +
           wait + R"( ms","schedDelay":")" + delay + R"( ms","runTime":")" + run + R"( ms",)" +
           kBoot + "}";
}

const char* const kHistory =
    "  10.000001 [0001]  <idle>        0.000  0.000  90.000 \n"
    "  10.000002 [0001]  a/b[7]        1.000  0.500   2.000 \n"
    "  10.000003 [0001]  a/b[8]        2.000  0.250   3.000 \n"
    "  10.000004 [0001]  sh[9]         3.000  0.125   2.500 \n";

TEST_F(SchedAnalyzerTest, TheSystemIsFollowedUpToThreadsAndEvents) {
    WriteRaw(
        "sched_global",
        {LatencyReport(LatencyLine("a/b:(2)", "2.000", "20.5") +
                       LatencyLine("<idle>:0", "9.000", "1.0") +
                       LatencyLine("sh:9", "1.000", "4.5")),
         LatencyReport(LatencyLine("a/b:7", "2.000", "20.5") +
                       LatencyLine("a/b:8", "1.000", "10.5") + LatencyLine("sh:9", "1.000", "4.5")),
         Timehist(kHistory),
         "x [000] 10.000003: other\na/b [001] 10.000002: before\na/b [001] 10.000003: event\n"
         "a/b [001] 10.000004: behind\n"});
    const Captured captured = Run(R"("global")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out,
                MatchesRegex("\\[SchedAnalyzer\\] Latency analyzer raw data task for filename "
                             "replace in global : a/b:\\(2\\) to a_b:\\[2\\]\n"
                             "\\[SchedAnalyzer\\] ProcessTid timehist raw data task for filename "
                             "replace in global : a/b:7 to a_b:7\n"
                             "\\[SchedAnalyzer\\] ProcessTid timehist raw data task for filename "
                             "replace in global : a/b:8 to a_b:8\n"
                             "\\[SchedAnalyzer\\] Success:: SchedAnalyzer has analyzed raw data!\n"
                             "\\[SchedAnalyzer\\] cost time: [0-9.]+s\n"));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[SchedAnalyzer\\] cost time: [0-9.]+s\n"));
    EXPECT_EQ(tree.Read("json/soc_schedAna_global_latency_ana_1_20230101120000000.data"),
              HeadOf("222210060", "soc_sched_ana") +
                  Target("topN_process", "1.500000", "2.000000",
                         LatencyObject("sh:9", "1.000", "4.5") + "," +
                             LatencyObject("a/b:(2)", "2.000", "20.5")) +
                  "," +
                  Target("sh:9", "1.000000", "1.000000", LatencyObject("sh:9", "1.000", "4.5")) +
                  "," +
                  Target("a/b:(2)", "1.500000", "2.000000",
                         LatencyObject("a/b:8", "1.000", "10.5") + "," +
                             LatencyObject("a/b:7", "2.000", "20.5")) +
                  "]}\n");
    EXPECT_EQ(tree.Read("json/soc_schedAna_global_timehist_ana_1_20230101120000000.data"),
              HeadOf("222210060", "soc_sched_global_timehist_ana") +
                  HistoryRow("a/b[8]", "10.000003", "2.000", "0.250", "3.000") + "," +
                  HistoryRow("sh[9]", "10.000004", "3.000", "0.125", "2.500") + "," +
                  HistoryRow("a/b[7]", "10.000002", "1.000", "0.500", "2.000") + "]}\n");
    EXPECT_EQ(tree.Read("json/soc_schedAna_global_timehist_process_tid_a_b:8_20230101120000000.log"
                        ".data"),
              HeadOf("222200002", "soc_sched_target_process_ana") +
                  HistoryRow("a/b[8]", "10.000003", "2.000", "0.250", "3.000") + "]}\n");
    EXPECT_EQ(tree.Read("raw_data/schedAna/soc_schedAna_global_timehist_script_grep_10.000003_grep_"
                        "001_1_20230101120000000.log"),
              "a/b [001] 10.000002: before\na/b [001] 10.000003: event\n");
}

TEST_F(SchedAnalyzerTest, TheShellLinesAreAsWritten) {
    WriteRaw("sched_core_3",
             {LatencyReport(LatencyLine("a/b:(1)", "2.000", "20.5")),
              LatencyReport(LatencyLine("a/b:8", "1.000", "10.5")), Timehist(kHistory), "x\n"});
    (void)Run(R"("core")");
    EXPECT_THAT(
        shell.commands,
        ElementsAre(
            "perf sched latency -i " + RawPath("sched_core_3_record_1_20230101120000000.perf") +
                " --pids | grep a/b >> " +
                AnalysisPath("schedAna_core3_latency_analyzer_a_b:[1]_20230101120000000.log"),
            "cat " + RawPath("sched_core_3_timehist_1_20230101120000000.log") +
                " | grep a/b | grep 8 >> " +
                AnalysisPath("schedAna_core3_timehist_process_tid_a_b:8_20230101120000000.log"),
            "perf sched script -i " + RawPath("sched_core_3_record_1_20230101120000000.perf") +
                " | grep 10.000003 -B 200 | grep 001 >> " +
                AnalysisPath("soc_schedAna_core_timehist_script_grep_10.000003_grep_001_core3_1_"
                             "20230101120000000.log")));
}

TEST_F(SchedAnalyzerTest, AProcessHasItsDelaysInsteadOfAReport) {
    WriteRaw("sched_process_planner_42",
             {"", "",
              Timehist("  10.000002 [0001]  planner[42]     100.000  0.500   2.000 \n"
                       "  10.000003 [0001]  io[43/42]       2.000  0.750   3.000 \n"
                       "  10.000004 [0001]  planner[42]     3.000  0.125   9.000 \n"),
              "io [001] 10.000003: a\nplanner [001] 10.000004: b\n"});
    const Captured captured = Run(R"("process")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out,
                HasSubstr("[SchedAnalyzer] ProcessTid timehist raw data task for filename replace "
                          "in process_planner_42 : io[43/42] to io[43_42]\n"
                          "[SchedAnalyzer] : Duplicate tid: 42, skipping this tid in "
                          "process_planner_42\n"));
    const std::string stem = "_process_planner_42_1_20230101120000000.data";
    const auto delay = [](const std::string& task, const std::string& run,
                          const std::string& delayed, const std::string& at) {
        return R"({"Task":")" + task + R"(","runtime":")" + run +
               R"( ms","switches":"1","averageDelay":")" + delayed + R"( ms","maximumDelay":")" +
               delayed + R"( ms","maximumDelayAt":")" + at + R"( s",)" + kBoot + "}";
    };
    EXPECT_EQ(tree.Read("json/soc_schedAna_process_latency_info" + stem),
              HeadOf("222210060", "soc_sched_ana") +
                  delay("io[43/42]", "3.000", "0.750", "10.002003") + "," +
                  delay("planner[42]", "2.000", "0.500", "10.100002") + "," +
                  delay("planner[42]", "9.000", "0.125", "10.003004") + "]}\n");
    EXPECT_EQ(tree.Read("json/soc_schedAna_process_timehist_ana" + stem),
              HeadOf("222210060", "soc_sched_process_timehist_ana") +
                  HistoryRow("planner[42]", "10.000004", "3.000", "0.125", "9.000") + "," +
                  HistoryRow("io[43/42]", "10.000003", "2.000", "0.750", "3.000") + "," +
                  HistoryRow("planner[42]", "10.000002", "100.000", "0.500", "2.000") + "]}\n");
    EXPECT_THAT(tree.NamesIn("json"),
                ElementsAre("soc_schedAna_process_latency_info" + stem,
                            "soc_schedAna_process_planner_42_timehist_process_tid_io[43_42]_"
                            "20230101120000000.log.data",
                            "soc_schedAna_process_planner_42_timehist_process_tid_planner[42]_"
                            "20230101120000000.log.data",
                            "soc_schedAna_process_timehist_ana" + stem));
    EXPECT_EQ(tree.NamesIn("raw_data/schedAna").size(), 4U);
}

TEST_F(SchedAnalyzerTest, AThresholdAboveAllRunTimesWritesNoScriptLogs) {
    WriteRaw("sched_global", {"", "", Timehist(kHistory), "x\n"});
    (void)Run(R"("global")", "1000.0");
    EXPECT_THAT(shell.commands, IsEmpty());
    EXPECT_EQ(tree.Read("json/soc_schedAna_global_timehist_ana_1_20230101120000000.data"),
              HeadOf("222210060", "soc_sched_global_timehist_ana") +
                  HistoryRow("a/b[8]", "10.000003", "2.000", "0.250", "3.000") + "," +
                  HistoryRow("sh[9]", "10.000004", "3.000", "0.125", "2.500") + "," +
                  HistoryRow("a/b[7]", "10.000002", "1.000", "0.500", "2.000") + "]}\n");
}

TEST_F(SchedAnalyzerTest, ATopOfNoneHasAnEmptyContent) {
    topN = "0";
    WriteRaw("sched_global",
             {LatencyReport(LatencyLine("sh:9", "1.000", "4.5")), "", Timehist(kHistory), ""});
    const Captured captured = Run(R"("global")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] SchedAnalyzer get tokens AvgDelay and MaxDelay value failed, tokens "
              "length should not be equal to 0.\n"
              "[SchedAnalyzer] Failed to get avgDelay and maxDelay value!\n"
              "[SchedAnalyzer] Failed to add topN_process object to content!\n"
              "[SchedAnalyzer] Failed to create global latency analyzer output json!\n"
              "[SchedAnalyzer] Failed to analyze global latency raw data!\n");
    EXPECT_EQ(tree.Read("json/soc_schedAna_global_timehist_ana_1_20230101120000000.data"),
              HeadOf("222210060", "soc_sched_global_timehist_ana") + "]}\n");
}

TEST_F(SchedAnalyzerTest, WithoutTheCollectorsFolderThePlaceholdersStay) {
    const Captured captured = Run(R"("global","core","process")");
    EXPECT_TRUE(result);
    const std::string dir = RawPath("");
    const std::string latency = "[SchedAnalyzer] Cannot find collector latency rawData file: ";
    const std::string timehist = "[SchedAnalyzer] Cannot find collector timehist rawData file: ";
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] The SchedCollector rawData path: " + dir + " doesn't exisit.\n" +
                  latency + dir +
                  "sched_global_latency_max_1_YYYYMMDDHHMMSSMS.log, check your config.\n" +
                  "[SchedAnalyzer] Failed to analyze global latency raw data!\n" + timehist + dir +
                  "sched_global_timehist_1_YYYYMMDDHHMMSSMS.log, check your config.\n" +
                  "[SchedAnalyzer] Failed to get and sort global timehist raw data!\n" +
                  "[SchedAnalyzer] Failed to analyze global timehist raw data!\n" + latency + dir +
                  "sched_core_3_latency_max_1_YYYYMMDDHHMMSSMS.log, check your config.\n" +
                  "[SchedAnalyzer] Failed to analyze core3 latency raw data!\n" + timehist + dir +
                  "sched_core_3_timehist_1_YYYYMMDDHHMMSSMS.log, check your config.\n" +
                  "[SchedAnalyzer] Failed to get and sort core3 timehist raw data!\n" +
                  "[SchedAnalyzer] Failed to analyze core3 timehist raw data!\n" + timehist + dir +
                  "sched_process_planner_42_timehist_1_YYYYMMDDHHMMSSMS.log, check your config.\n" +
                  "[SchedAnalyzer] Failed to get and sort process_planner_42 timehist raw data!\n" +
                  "[SchedAnalyzer] Failed to analyze process_planner_42 timehist raw data!\n");
    EXPECT_THAT(captured.out, HasSubstr(kDone));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

TEST_F(SchedAnalyzerTest, AFolderAmongTheRawFilesEndsTheAnalysis) {
    tree.MakeFolder("raw_data/sched/a_folder");
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] Cannot find sched collection files! \n"
              "[SchedAnalyzer] Failed to init output file!\n");
}

TEST_F(SchedAnalyzerTest, AFolderThatCannotBeReadEndsTheAnalysis) {
    WriteRaw("sched_global", {"", "", Timehist(kHistory), ""});
    const OrdinaryRights rights;
    std::filesystem::permissions(RawPath(""), std::filesystem::perms::owner_exec);
    const Captured captured = Run(R"("global")");
    std::filesystem::permissions(RawPath(""), std::filesystem::perms::owner_all);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] Cannot find sched collection files! \n"
              "[SchedAnalyzer] Failed to init output file!\n");
}

// The walk ends before it when all moments are known.
TEST_F(SchedAnalyzerTest, AFolderBehindTheLastMomentIsNotMet) {
    WriteRaw("sched_core_3", {});
    WriteRaw("sched_global", {});
    WriteRaw("sched_process_planner_42", {});
    tree.MakeFolder("raw_data/sched/z_folder");
    (void)Run(R"("global")");
    EXPECT_TRUE(result);
}

TEST_F(SchedAnalyzerTest, OfSeveralMomentsTheFirstByNameCounts) {
    WriteRaw("sched_global", {"", "", Timehist(kHistory), ""});
    tree.Write("raw_data/sched/sched_global_record_1_20240101120000000.perf", "");
    (void)Run(R"("global")", "1000.0");
    EXPECT_TRUE(tree.Has("json/soc_schedAna_global_timehist_ana_1_20230101120000000.data"));
}

TEST_F(SchedAnalyzerTest, TheFlagStopsBeforeTheNextJob) {
    const std::string stopped = "[SchedAnalyzer] Failed to process sched analyzer!\n";
    stopFlag = 1;
    for (const char* job : {"global", "core", "process"}) {
        const Captured captured = Run('"' + std::string(job) + '"');
        EXPECT_FALSE(result);
        EXPECT_THAT(captured.err,
                    HasSubstr("[SchedAnalyzer] Failed to process [" + std::string(job) +
                              "] sched analyzer because of stopFlag!\n" + stopped));
        EXPECT_EQ(captured.out, "");
    }
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
    EXPECT_THAT(shell.commands, IsEmpty());
    (void)Run("");
    EXPECT_TRUE(result);
}

TEST_F(SchedAnalyzerTest, AConfigurationThatCannotBeReadEndsIt) {
    Captured captured = RunConfig("{}");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] SchedAnalyzer job param not exist!\n"
              "[SchedAnalyzer] Failed to check and set SchedAnalyzer job param!\n"
              "[SchedAnalyzer] Failed to parse sched config!\n");
    shell.boot = "";
    captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[sched] Failed to get cmd execution result!\n"
              "[SchedAnalyzer] Failed to get system start up time!\n"
              "[SchedAnalyzer] Failed to parse sched config!\n");
}

TEST_F(SchedAnalyzerTest, WithoutItsFolderItEnds) {
    tree.PutInTheWay("raw_data/schedAna");
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, HasSubstr("\n[SchedAnalyzer] Failed to init output file!\n"));
}

}  // namespace
}  // namespace zarn::test
