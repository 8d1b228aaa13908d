#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;

constexpr const char* kPage = "scheduler";
constexpr const char* kTime = "20260101000010000";
const std::string kHistory =
    sched_files::kRawDir + sched_files::TimehistName("sched_global", 1, kTime);
const std::string kHead = "head\nhead\nhead\n";

std::string Boot() {
    return DocumentLine("soc_sched_global_latency_info", kTime,
                        R"([{"Task":"planner:7","runtime":"2.5 ms","switches":"3",)"
                        R"("averageDelay":"0.1 ms","maximumDelay":"0.2 ms",)"
                        R"("maximumDelayAt":"11.5 s","systemStartUpTime":"20260101000000"}])");
}

TEST(SchedulerPageTest, PlacesWhatRanOnTheTimeAxis) {
    const RunTree tree;
    tree.Write(sched_files::GlobalLatencyPath("", 1, kTime), Boot());
    tree.Write(kHistory, kHead +
                             "11.000000 [0000]  planner[7]   1.000  0.250  4.000\n"
                             "11.500000 [0000]  <idle>       0.000  0.000  500.000\n"
                             "12.000000 [0001]  camera[8]    0.000  0.000  1.000\n"
                             "torn line\n");
    const Shown shown(tree);
    const std::string title = "What ran when, global_timehist_1";
    const JsonValue& rows = shown.Block(kPage, title)["rows"];
    ASSERT_EQ(rows.Size(), 2U);
    EXPECT_STREQ(rows[0]["name"].GetString(), "planner[7]");
    EXPECT_EQ(rows[0]["spans"][0]["from"].GetDouble() - kFrom, 10996.0);
    EXPECT_EQ(rows[0]["spans"][0]["to"].GetDouble() - kFrom, 11000.0);
    EXPECT_EQ(rows[0]["spans"][0]["src"][1].GetInt(), 4);
    EXPECT_THAT(
        shown.Lines(kPage, "Waits, delays and runs, global_timehist_1", kFrom),
        ElementsAre("wait: 11000=1 12000=0", "delay: 11000=0.25 12000=0", "run: 11000=4 12000=1"));
    EXPECT_THAT(shown.Troubles(), ElementsAre(kHistory + ": lines that are no rows: 1"));
    EXPECT_THAT(shown.Rows(kPage, "Latency report, soc_sched_global_latency_info_1"),
                ElementsAre("planner:7|2.5|3|0.1|0.2|11.5"));
}

TEST(SchedulerPageTest, LeavesOutWhatNoClockCanShow) {
    const RunTree tree;
    tree.Write(sched_files::GlobalLatencyPath("", 1, kTime), Boot());
    tree.Write(kHistory, kHead +
                             "1.000000 [0000]  planner[7]  0.000  0.000  1e300\n"
                             "2.000000 [0000]  planner[7]  0.000  0.000  2.000\n"
                             "1e300 [0000]  planner[7]  0.000  0.000  1.000\n");
    const Shown shown(tree);
    const JsonValue& block = shown.Block(kPage, "Waits, delays and runs, global_timehist_1");
    EXPECT_EQ(block["series"][2]["t"].Size(), 2U);
    EXPECT_THAT(block["note"].GetString(), EndsWith("Left out: 1 rows without a time."));
    const JsonValue& rows = shown.Block(kPage, "What ran when, global_timehist_1")["rows"];
    ASSERT_EQ(rows.Size(), 1U);
    ASSERT_EQ(rows[0]["spans"].Size(), 1U);
    EXPECT_EQ(rows[0]["spans"][0]["from"].GetDouble() - kFrom, 1998.0);
}

TEST(SchedulerPageTest, PlacesTheFirstRowByTheFilesNameWhereNoDocumentHelps) {
    const RunTree tree;
    tree.Write(kHistory, kHead +
                             "100.000000 [0000]  planner[7]  0.000  0.000  1.000\n"
                             "100.500000 [0000]  planner[7]  0.000  0.000  1.000\n");
    EXPECT_THAT(Shown(tree).Lines(kPage, "Waits, delays and runs, global_timehist_1", kFrom),
                Contains("run: 10000=1 10500=1"));
}

TEST(SchedulerPageTest, ShowsWhatTheAnalyzerFound) {
    const RunTree tree;
    const sched_files::AnalysisTarget target{"global", "global", kTime};
    tree.Write(
        run_tree::kJsonDir + sched_files::AnalysisName(target, sched_files::kLatencyAnalysis),
        DocumentLine("soc_sched_ana", kTime,
                     R"([{"target":"topN_process","avgDelay":"1.500000 ms",)"
                     R"("maxDelay":"2.000000 ms","sortedList":[{"task":"planner:7",)"
                     R"("runtime":"1 ms","switches":"2","averageDelay":"1 ms",)"
                     R"("maximumDelay":"2 ms","maximumDelayAt":"3 s"}]},)"
                     R"({"target":"planner:7","avgDelay":"x","maxDelay":"2 ms",)"
                     R"("sortedList":[]}])"));
    tree.Write(
        run_tree::kJsonDir + sched_files::AnalysisName(target, sched_files::kTimehistAnalysis),
        DocumentLine("soc_sched_global_timehist_ana", kTime,
                     R"([{"task":"planner[7]","time":"11 s","cpu":"[0001]",)"
                     R"("waitTime":"1 ms","schedDelay":"2 ms","runTime":"30 ms"}])"));
    const Shown shown(tree);
    const std::string name = "global_latency_ana_1";
    EXPECT_THAT(shown.Rows(kPage, "Worst rows of the latency report, " + name),
                ElementsAre("planner:7|1|2|1|2|3"));
    EXPECT_THAT(shown.Rows(kPage, "Delays by task, " + name),
                ElementsAre("topN_process|1.5|2", "planner:7|[not-a-number]|2"));
    EXPECT_THAT(shown.Rows(kPage,
                           "Longest runs without a break, "
                           "global_timehist_ana_1"),
                ElementsAre("planner[7]|11|[0001]|1|2|30"));
    EXPECT_THAT(
        shown.Rows("summary", "What was found"),
        ElementsAre("run1|Scheduler, " + name + ": greatest delay, of planner:7|2|ms|[not-in-file]",
                    "run1|Scheduler, global_timehist_ana_1: longest run without a break, of "
                    "planner[7]|30|ms|[not-in-file]"));
}

TEST(SchedulerPageTest, TellsTheWorstRowsWithTheirMoments) {
    const RunTree tree;
    const auto write = [&tree](const std::string& name, const std::string& rows) {
        tree.Write(run_tree::kJsonDir + name, DocumentLine("soc_sched_ana", kTime, rows));
    };
    const auto history = [](const std::string& time, const std::string& run) {
        return R"({"task":"planner[7]","time":")" + time + R"( s","cpu":"[0001]",)" +
               R"("waitTime":"1 ms","schedDelay":"2 ms","runTime":")" + run +
               R"( ms","systemStartUpTime":"20260101000000"})";
    };
    write("soc_schedAna_global_timehist_ana_1_" + std::string(kTime) + ".data",
          "[" + history("11.5", "3") + "," + history("12.25", "30") + "]");
    write("soc_schedAna_global_timehist_process_tid_planner:7_" + std::string(kTime) + ".log.data",
          "[" + history("13", "99") + "]");
    write("soc_schedAna_process_latency_info_process_planner_7_1_" + std::string(kTime) + ".data",
          R"([{"Task":"planner[7]","runtime":"1 ms","switches":"1","averageDelay":"5 ms",)"
          R"("maximumDelay":"5 ms","maximumDelayAt":"2 s","systemStartUpTime":"20260101000000"}])");
    const Shown shown(tree);
    EXPECT_THAT(
        shown.Rows("summary", "What was found"),
        ElementsAre("run1|Scheduler, global_timehist_ana_1: longest run without a break, of "
                    "planner[7]|30|ms|2026-01-01 00:00:12.250",
                    "run1|Scheduler, process_latency_info_process_planner_7_1: longest wait "
                    "for a core, of planner[7]|5|ms|2026-01-01 00:00:02.000"));
    EXPECT_THAT(shown.Rows(kPage, "History of a thread, global_timehist_process_tid_planner:7"),
                ElementsAre("planner[7]|13|[0001]|1|2|99"));
}

TEST(SchedulerPageTest, ShowsHowThreadsAreSetUp) {
    const RunTree tree;
    const std::string head = "ProcessName:PID,ThreadName:SPID,Priority,SchedPolicy,CoreList,\n";
    tree.Write(sched_files::kThreadTable,
               head + "a:1,b:2,80,SCHED_OTHER,\"0,1\",\n" + head + "a:1,b:3,NA,NA\n");
    EXPECT_THAT(Shown(tree).Rows(kPage, "Priorities and cores of the threads"),
                ElementsAre("a:1|b:2|80|SCHED_OTHER|0,1",
                            "a:1|b:3|[not-in-file]|[not-in-file]|[not-in-file]"));
}

TEST(SchedulerPageTest, KeepsTheLongestRunsOfMany) {
    const RunTree tree;
    tree.Write(sched_files::GlobalLatencyPath("", 1, kTime), Boot());
    std::string text = kHead;
    for (int i = 0; i < 45000; ++i) {
        text += std::to_string(100 + i / 1000) + "." + std::to_string(100000 + i % 1000).substr(1) +
                " [0000]  t" + std::to_string(i % 60) + "[7]  0.0  0.0  " +
                (i == 777 ? "9.0" : "0.001") + "\n";
    }
    tree.Write(kHistory, text);
    const Shown shown(tree);
    const JsonValue& block = shown.Block(kPage, "What ran when, global_timehist_1");
    EXPECT_EQ(block["total"].GetInt(), 45000);
    EXPECT_EQ(block["rows"].Size(), 40U);
    EXPECT_STREQ(block["rows"][0]["name"].GetString(), "t57[7]");
    std::size_t spans = 0;
    for (const JsonValue& row : block["rows"].GetArray()) {
        spans += row["spans"].Size();
    }
    EXPECT_LE(spans, 4000U);
}

}  // namespace
}  // namespace zarn::report
