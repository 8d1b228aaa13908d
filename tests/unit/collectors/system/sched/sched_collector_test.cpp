#include <gmock/gmock.h>

#include "tests/unit/collectors/system/sched/sched_collector_fixture.h"

// The jobs that record by perf, their passes and documents.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kReport =
    "\n -----\n  Task | Runtime\n -----\n"
    "  loop:12       |  5.000 ms |   3 | avg:  1.500 ms | max:  2.000 ms | max start: 12.3 s | x\n"
    "  <idle>:0      |  5.000 ms |   3 | avg:  1.500 ms | max:  2.000 ms | max start: 12.3 s | x\n"
    "  torn:13       |  5.000 ms\n"
    "  next:14       |  1.000 ms |   1 | avg:  0.500 ms | max:  0.500 ms | max start: 9.9 s | x\n"
    " -------------\n  TOTAL: | 6.0 ms | 4 |\n -----------------\n";

constexpr const char* kTorn =
    "[SchedAnalyzer] Error occurs in AddOneLatencyRawData: the line has too few fields\n";

std::string DocumentOf(const std::string& objectId, const std::string& rows) {
    return R"({"eventId":"222200002","happenTime":"20230101120000000","objectId":")" + objectId +
           R"(","content":[)" + rows + "]}\n";
}

const std::string kLoopRow =
    R"({"Task":"loop:12","runtime":"5.000 ms","switches":"3","averageDelay":"1.500 ms",)"
    R"("maximumDelay":"2.000 ms","maximumDelayAt":"12.3 s","systemStartUpTime":"20230101000000"})";
const std::string kNextRow =
    R"({"Task":"next:14","runtime":"1.000 ms","switches":"1","averageDelay":"0.500 ms",)"
    R"("maximumDelay":"0.500 ms","maximumDelayAt":"9.9 s","systemStartUpTime":"20230101000000"})";

TEST_F(SchedCollectorTest, TheSystemIsRecordedAndItsReportBecomesADocument) {
    LeaveReports(kReport);
    const Captured captured = Run(R"("global")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, kTorn);
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected + kSaved);
    const std::string raw = tree.PathOf("raw_data/sched/sched_global_");
    EXPECT_THAT(Commands(),
                ElementsAre("perf sched record -o " + raw +
                            "record_1_20230101120000000.perf -- sleep 5 && "
                            "perf sched latency -i " +
                            raw + "record_1_20230101120000000.perf --sort max >> " + raw +
                            "latency_max_1_20230101120000000.log && "
                            "perf sched timehist -i " +
                            raw + "record_1_20230101120000000.perf >> " + raw +
                            "timehist_1_20230101120000000.log"));
    EXPECT_THAT(tree.NamesIn("raw_data/sched"),
                ElementsAre("sched_global_latency_max_1_20230101120000000.log",
                            "sched_global_record_1_20230101120000000.perf",
                            "sched_global_timehist_1_20230101120000000.log"));
    EXPECT_EQ(tree.Read("json/soc_sched_global_latency_info_1_20230101120000000.data"),
              DocumentOf("soc_sched_global_latency_info", kLoopRow + "," + kNextRow));
}

TEST_F(SchedCollectorTest, ARowTooManyIsLeftOut) {
    LeaveReports(kReport);
    topN = "1";
    EXPECT_EQ(Run(R"("global")").err, "");
    EXPECT_EQ(tree.Read("json/soc_sched_global_latency_info_1_20230101120000000.data"),
              DocumentOf("soc_sched_global_latency_info", kLoopRow));
}

TEST_F(SchedCollectorTest, WithNoRowWantedTheContentIsEmpty) {
    LeaveReports(kReport);
    topN = "0";
    EXPECT_EQ(Run(R"("global")").err, "");
    EXPECT_EQ(tree.Read("json/soc_sched_global_latency_info_1_20230101120000000.data"),
              DocumentOf("soc_sched_global_latency_info", ""));
}

class SchedReportEndTest : public SchedCollectorTest,
                           public testing::WithParamInterface<const char*> {};

TEST_P(SchedReportEndTest, TheEndOfTheFileEndsAReport) {
    LeaveReports(GetParam());
    (void)Run(R"("global")");
    EXPECT_TRUE(result);
    EXPECT_EQ(tree.Read("json/soc_sched_global_latency_info_1_20230101120000000.data"),
              DocumentOf("soc_sched_global_latency_info", ""));
}

INSTANTIATE_TEST_SUITE_P(Reports, SchedReportEndTest,
                         testing::Values("", "\n -----\n", "\n -\n Task\n -\n loop | 1 ms"));

TEST_F(SchedCollectorTest, TheSortKeyStandsInTheCommandAndTheLog) {
    LeaveReports(kReport);
    sorted = "avg";
    (void)Run(R"("global")");
    EXPECT_THAT(Commands(), ElementsAre(HasSubstr(" --sort avg >> ")));
    EXPECT_TRUE(tree.Has("raw_data/sched/sched_global_latency_avg_1_20230101120000000.log"));
}

// perf has sorted it by the key already.
TEST_F(SchedCollectorTest, TheDocumentHasTheOrderOfTheReport) {
    LeaveReports(
        "\n -----\n  Task | Runtime\n -----\n"
        "  next:14  |  1.000 ms |   1 | avg:  0.500 ms | max:  0.500 ms | max start: 9.9 s | x\n"
        "  loop:12  |  5.000 ms |   3 | avg:  1.500 ms | max:  2.000 ms | max start: 12.3 s | x\n"
        " -------------\n");
    sorted = "avg";
    (void)Run(R"("global")");
    EXPECT_EQ(tree.Read("json/soc_sched_global_latency_info_1_20230101120000000.data"),
              DocumentOf("soc_sched_global_latency_info", kNextRow + "," + kLoopRow));
}

TEST_F(SchedCollectorTest, CoresShareOneMomentAndHaveADocumentEach) {
    LeaveReports(kReport);
    const Captured captured = Run(R"("core")");
    EXPECT_TRUE(result);
    EXPECT_THAT(Commands(),
                ElementsAre(HasSubstr("sched_core_0_record_1_20230101120000000.perf -C 0 -- "),
                            HasSubstr("sched_core_2_record_1_20230101120000000.perf -C 2 -- ")));
    for (const char* core : {"0", "2"}) {
        EXPECT_EQ(tree.Read(std::string("json/soc_sched_core_latency_info_core") + core +
                            "_1_20230101120000000.data"),
                  DocumentOf("soc_sched_core_latency_info", kLoopRow + "," + kNextRow));
    }
}

TEST_F(SchedCollectorTest, WithoutCoresNothingIsRecorded) {
    cores = "[]";
    const Captured captured = Run(R"("core")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(Commands(), IsEmpty());
    EXPECT_EQ(host.ticks, 0);
}

TEST_F(SchedCollectorTest, ProcessesHaveRawFilesAlone) {
    LeaveReports(kReport);
    processes = R"(["worker","gone","other"])";
    const Captured captured = Run(R"("process")");
    EXPECT_TRUE(result);
    EXPECT_THAT(Commands(),
                ElementsAre(HasSubstr("sched_process_worker_7_record_1_20230101120000000.perf -p "
                                      "7 -- sleep 5 && "),
                            HasSubstr("sched_process_other_8_record_1_20230101120000000.perf -p "
                                      "8 -- sleep 5 && ")));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_THAT(tree.NamesIn("raw_data/sched"), SizeIs(6));
}

TEST_F(SchedCollectorTest, OnlyTheFirstPassGetsDocuments) {
    LeaveReports(kReport);
    count = "3";
    (void)Run(R"("core","process","global")");
    EXPECT_THAT(tree.NamesIn("raw_data/sched"), SizeIs(3 * 3 * 5));
    EXPECT_THAT(tree.NamesIn("json"),
                ElementsAre("soc_sched_core_latency_info_core0_1_20230101120000001.data",
                            "soc_sched_core_latency_info_core2_1_20230101120000001.data",
                            "soc_sched_global_latency_info_1_20230101120000000.data"));
    // One moment for each job in each pass, and the order of jobs is fixed.
    EXPECT_EQ(host.ticks, 9);
    EXPECT_TRUE(tree.Has("raw_data/sched/sched_process_other_8_timehist_3_20230101120000008.log"));
}

TEST_F(SchedCollectorTest, WithNoPassNothingIsRecorded) {
    count = "0";
    const Captured captured = Run(R"("global","core","process","lite")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected + kSaved);
    EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(SchedCollectorTest, WithoutRepeatingJobsPassesCostNothing) {
    count = "4294967295";
    (void)Run("");
    EXPECT_TRUE(result);
}

TEST_F(SchedCollectorTest, AFailingCommandStopsNothing) {
    host.runner.On("perf sched", "", 129 << 8);
    const Captured captured = Run(R"("global","core","process")");
    EXPECT_TRUE(result);
    const std::string core = "[SchedCollector] Fail to generate core raw data!\n";
    const std::string process = "[SchedCollector] Fail to generate process raw data!\n";
    const std::string noCore =
        "[SchedCollector] Cannot find core rawData file, check your config about core.\n";
    EXPECT_EQ(captured.err,
              "[SchedCollector] Fail to generate global raw data!\n" + core + core + process +
                  process +
                  "[SchedCollector] Cannot find global rawData file, check your config about "
                  "global.\n" +
                  noCore + noCore);
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected + kSaved);
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

TEST_F(SchedCollectorTest, AFolderIsNoReport) {
    tree.MakeFolder("raw_data/sched/sched_global_latency_max_1_20230101120000000.log");
    EXPECT_EQ(Run(R"("global")").err,
              "[SchedCollector] Cannot find global rawData file, check your config about "
              "global.\n");
}

TEST_F(SchedCollectorTest, ADocumentThatCannotBeWrittenIsTold) {
    LeaveReports("");
    tree.MakeFull("json/soc_sched_global_latency_info_1_20230101120000000.data");
    EXPECT_EQ(Run(R"("global")").err, "[zarn_utils] Cannot open outfile, check your filePath.\n");
}

TEST_F(SchedCollectorTest, AJobWithoutAMomentEnds) {
    host.currentTime = [](std::string&) { return false; };
    const Captured captured = Run(R"("global","core","process","lite","priority_affinity")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err.substr(0, captured.err.find("[SchedCollector] Cannot find")),
              "[SchedCollector] Get global happen time failed.\n"
              "[SchedCollector] Get core happen time failed.\n"
              "[SchedCollector] Get process happen time failed.\n"
              "[SchedCollector] Get lite happent time failed.\n"
              "[SchedCollector] Get processPriority happent time failed.\n"
              "[SchedCollector] Get processAffinity happent time failed.\n"
              "[SchedCollector] Get specifiedThreadInfo happent time failed.\n");
    EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(SchedCollectorTest, WithoutItsFolderItFails) {
    tree.PutInTheWay("raw_data");
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, HasSubstr("[SchedCollector] Failed to init output file!\n"));
    EXPECT_EQ(captured.out, "");
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

class SchedCollectorBootTest : public SchedCollectorTest {
protected:
    SchedCollectorBootTest() { host.otherRunner = &silent; }
    FakeRunner silent;
};

TEST_F(SchedCollectorBootTest, WithoutTheTimeOfBootingItFails) {
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[sched] Failed to get cmd execution result!\n"
              "[SchedCollector] Failed to get system start up time!\n");
    EXPECT_EQ(captured.out, "");
}

struct Interrupt {
    std::string at;   // the shell line that holds this
    std::string job;  // does not begin
};

class SchedInterruptTest : public SchedCollectorTest,
                           public testing::WithParamInterface<Interrupt> {};

TEST_P(SchedInterruptTest, IsSeenBeforeTheNextJob) {
    StopAt(GetParam().at);
    const Captured captured = Run(R"("global","core","process","lite")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Failed to process [" + GetParam().job +
                                "] sched info because of stopFlag!\n" + kFailed);
    EXPECT_EQ(captured.out, kBegun);
}

INSTANTIATE_TEST_SUITE_P(Jobs, SchedInterruptTest,
                         testing::Values(Interrupt{"date ", "global"},
                                         Interrupt{"sched_global_", "core"},
                                         Interrupt{"sched_core_0_", "process"},
                                         Interrupt{"sched_process_worker_", "lite"}),
                         [](const auto& chosen) { return chosen.param.job; });

TEST_F(SchedCollectorTest, AnInterruptInTheSecondPassKeepsTheFirst) {
    LeaveReports(kReport);
    count = "3";
    StopAt("sched_global_record_2_");
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              std::string("[SchedCollector] Failed to process [global] sched info because of "
                          "stopFlag!\n") +
                  kFailed);
    EXPECT_THAT(tree.NamesIn("raw_data/sched"), SizeIs(6));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(SchedCollectorTest, AnInterruptInTheLastJobKeepsDocumentsFromBeingMade) {
    LeaveReports(kReport);
    StopAt("sched_global_record_1_");
    const Captured captured = Run(R"("global")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Failed to CreateOutputJson because of stopFlag!\n");
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected);
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

}  // namespace
}  // namespace zarn::test
