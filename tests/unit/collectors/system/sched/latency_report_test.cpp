#include "collectors/system/sched/latency_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kHead = {"", " ----", "  Task | Runtime ms", " ----"};

std::vector<std::string> RowsOf(std::uint32_t topN, const std::vector<std::string>& lines) {
    std::vector<std::string> all = kHead;
    all.insert(all.end(), lines.begin(), lines.end());
    LatencyRows rows(topN);
    std::vector<std::string> taken;
    for (const std::string& line : all) {
        if (!rows.WantsMore()) {
            break;
        }
        if (rows.Take(line) == LatencyLine::Row) {
            taken.push_back(line);
        }
    }
    return taken;
}

TEST(LatencyReportTest, TheHeadIsPassedOverWhateverItHolds) {
    LatencyRows rows(10);
    for (const char* line : {"idle", "-------------", "a | b", ""}) {
        EXPECT_EQ(rows.Take(line), LatencyLine::PassedOver);
    }
    EXPECT_EQ(rows.Take("a | b"), LatencyLine::Row);
}

TEST(LatencyReportTest, OnlyTheFirstTasksCount) {
    EXPECT_THAT(RowsOf(2, {"a", "b", "c"}), ElementsAre("a", "b"));
    EXPECT_THAT(RowsOf(0, {"a", "b"}), IsEmpty());
}

TEST(LatencyReportTest, IdleTasksTakeNoPlace) {
    EXPECT_THAT(RowsOf(2, {"idle:1", "a", "swapper idle", "b", "c"}), ElementsAre("a", "b"));
}

TEST(LatencyReportTest, DashesEndTheReport) {
    EXPECT_THAT(RowsOf(9, {"a", "------------", " -------------", "b"}),
                ElementsAre("a", "------------"));
    // An idle task is seen first.
    EXPECT_THAT(RowsOf(9, {"idle -------------", "b"}), ElementsAre("b"));
}

TEST(LatencyReportTest, ARowLosesBlanksAndLabels) {
    const auto row = ParseLatencyRow(
        "  kworker/0:1:15        |      0.123 ms |        7 | avg:   0.002 ms | max:   0.004 ms | "
        "max start:    12.345678 s | max end:    12.345682 s");
    ASSERT_TRUE(row);
    EXPECT_THAT(*row, ElementsAre("kworker/0:1:15", "0.123 ms", "7", "0.002 ms", "0.004 ms",
                                  "12.345678 s"));
}

TEST(LatencyReportTest, AnOlderReportHasSixColumns) {
    const auto row = ParseLatencyRow("x:(3)|1 ms|2|avg: 3 ms|max: 4 ms|max at: 5 s");
    ASSERT_TRUE(row);
    EXPECT_THAT(*row, ElementsAre("x:(3)", "1 ms", "2", "3 ms", "4 ms", "5 s"));
}

TEST(LatencyReportTest, AShortRowIsNone) {
    for (const char* line :
         {"", "|", "a", "a|1 ms|2|avg: 3 ms|max: 4 ms", "a|1 ms|2|3 ms|max: 4 ms|max at: 5 s",
          "a|1 ms|2|avg: 3 ms|max: 4 ms|max at:"}) {
        EXPECT_FALSE(ParseLatencyRow(line)) << line;
    }
}

}  // namespace
}  // namespace zarn
