#include "analyzers/sched/latency_ranking.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;

constexpr const char* kHead = "\n ---\n  Task | Runtime\n ---\n";
constexpr const char* kShort =
    "[SchedAnalyzer] Error occurs in ConvertLineToTokens: the line has too few fields\n";
constexpr const char* kNoMoment =
    "[SchedAnalyzer] Error occurs when translate string to double for maxDelayAt time: stod\n";

std::string Line(const std::string& task, const std::string& at) {
    return "  " + task + " |  1.0 ms |  2 | avg: 0.1 ms | max:  0.2 ms | max start: " + at +
           " s | max end: 9 s\n";
}

struct Reading {
    std::vector<std::string> tasks;
    std::vector<LatencyCells> rows;
    std::string err;
};

Reading ReadTop(const std::string& text, std::uint32_t topN) {
    Reading reading;
    LineCursor cursor(text);
    reading.err = Capture([&] { reading.rows = ReadTopTasks(LinesOf(cursor), topN); }).err;
    for (const LatencyCells& row : reading.rows) {
        reading.tasks.push_back(row[kTaskCell]);
    }
    return reading;
}

TEST(LatencyRankingTest, RowsStandInOrderOfTime) {
    const Reading reading =
        ReadTop(kHead + Line("a:1", "30.5") + Line("b:2", "4.25") + Line("c:3", "100"), 10);
    EXPECT_THAT(reading.tasks, ElementsAre("b:2", "a:1", "c:3"));
    EXPECT_THAT(reading.rows[0], ElementsAre("b:2", "1.0 ms", "2", "0.1 ms", "0.2 ms", "4.25 s"));
    EXPECT_EQ(reading.err, "");
}

TEST(LatencyRankingTest, TheFirstRowsThatAreNotIdleCount) {
    const std::string text =
        kHead + Line("a:1", "5") + Line("<idle>:0", "4") + Line("b:2", "3") + Line("c:3", "1");
    EXPECT_THAT(ReadTop(text, 2).tasks, ElementsAre("b:2", "a:1"));
    EXPECT_THAT(ReadTop(text, 0).tasks, ElementsAre());
}

TEST(LatencyRankingTest, DashesOrTheEndOfTheFileEndAReport) {
    EXPECT_THAT(ReadTop(kHead + Line("a:1", "5") + " -------------\n" + Line("b:2", "3"), 9).tasks,
                ElementsAre("a:1"));
    EXPECT_THAT(ReadTop(kHead + Line("a:1", "5"), 9).tasks, ElementsAre("a:1"));
    EXPECT_THAT(ReadTop("", 9).tasks, ElementsAre());
}

TEST(LatencyRankingTest, ATornRowIsToldAndTheNextIsRead) {
    const Reading reading =
        ReadTop(std::string(kHead) + "  a:1 | 1.0 ms | 2 | avg: 0.1\n\n" + Line("b:2", "3"), 9);
    EXPECT_THAT(reading.tasks, ElementsAre("b:2"));
    EXPECT_EQ(reading.err, std::string(kShort) + kShort);
}

TEST(LatencyRankingTest, RowsWithoutAMomentComeLastAndAreToldOnce) {
    const Reading reading = ReadTop(
        kHead + Line("a:1", "x") + Line("b:2", "nan") + Line("c:3", "7") + Line("d:4", "7"), 9);
    EXPECT_THAT(reading.tasks, ElementsAre("c:3", "d:4", "a:1", "b:2"));
    EXPECT_EQ(reading.err, kNoMoment);
}

TEST(LatencyRankingTest, AThreadLogHasNoHead) {
    const std::string text = Line("a:1", "9") + Line("a:2", "8");
    LineCursor cursor(text);
    const std::vector<LatencyCells> rows = ReadTaskThreads(LinesOf(cursor));
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0][kTaskCell], "a:2");
}

TEST(LatencyRankingTest, ARealReportIsRead) {
    const Reading reading = ReadTop(ReadText(DataPath("perf-6.1.187/sched_latency.log")), 5);
    EXPECT_THAT(reading.tasks, ElementsAre("net:rx:(2)", "a/b:(2)", "my own task:(2)", "plain:(2)",
                                           "worker(1):(2)"));
    EXPECT_THAT(reading.rows[2], ElementsAre("my own task:(2)", "91.392 ms", "54", "3.038 ms",
                                             "21.386 ms", "22518.054337 s"));
    EXPECT_EQ(reading.err, "");
}

TEST(LatencyRankingTest, ARealReportByAveragesHasOtherTasksOnTop) {
    const Reading reading = ReadTop(ReadText(DataPath("perf-6.1.187/sched_latency_avg.log")), 2);
    EXPECT_THAT(reading.tasks, ElementsAre("net:rx:(2)", "plain:(2)"));
    const Reading one = ReadTop(ReadText(DataPath("perf-6.1.187/sched_latency_avg.log")), 1);
    EXPECT_THAT(one.tasks, ElementsAre("plain:(2)"));
}

TEST(LatencyRankingTest, ARealReportOfNothingHasNoRow) {
    const Reading reading = ReadTop(ReadText(DataPath("perf-6.1.187/sched_latency_empty.log")), 5);
    EXPECT_EQ(reading.rows.size(), 0U);
    EXPECT_EQ(reading.err, "");
}

TEST(LatencyThreadTest, TheTidStandsBehindTheLastColon) {
    const auto split = [](const char* line) {
        const LatencyThread thread = ReadLatencyThread(line);
        return thread.cell + "|" + thread.name + "|" + thread.tid;
    };
    EXPECT_EQ(split("  net:rx:3481   |  1 ms |"), "net:rx:3481|net:rx|3481");
    EXPECT_EQ(split("  my own task:7 | "), "my own task:7|my own task|7");
    EXPECT_EQ(split(":74:74"), ":74:74|:74|74");
    EXPECT_EQ(split(" plain |"), "plain|plain|");
    EXPECT_EQ(split(""), "||");
}

}  // namespace
}  // namespace zarn::test
