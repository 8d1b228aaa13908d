#include "collectors/profiling/hot_fun/report_rows.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/amounts.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;

std::vector<std::string> RowsOf(const ReportRows& rows) {
    std::vector<std::string> texts;
    rows.ForEach([&texts](const ReportRow& row) {
        std::string text;
        for (const std::string_view cell :
             {row.percentage, row.command, row.sharedObject, row.symbol}) {
            text.append(cell).push_back('|');
        }
        texts.push_back(text);
    });
    return texts;
}

TEST(ReportRowTest, BeginsAtThePercentageAndEndsWithTheLine) {
    EXPECT_THAT(FindReportRow("    64.15%    64.15%  app  libc.so.6  [.] main "),
                Optional(std::string_view("64.15%    64.15%  app  libc.so.6  [.] main ")));
    EXPECT_EQ(FindReportRow("# Event count (approx.): 433750000"), std::nullopt);
    EXPECT_EQ(FindReportRow("            |--50.00%--main"), std::nullopt);
    EXPECT_EQ(FindReportRow(""), std::nullopt);
}

// A row of a report that was carried over from a system with other line ends.
TEST(ReportRowTest, ACarriageReturnAtTheEndStays) {
    EXPECT_THAT(FindReportRow("1% 1% app so [.] main\r"),
                Optional(std::string_view("1% 1% app so [.] main\r")));
}

TEST(ReportRowTest, ALineMayHaveAnyLengthAndBytes) {
    constexpr std::size_t kSize = test::Amount(16U << 20U);
    const std::string symbol(kSize, 's');
    EXPECT_THAT(FindReportRow("  5.00% 5.00% app so [.] " + symbol),
                Optional(testing::SizeIs(kSize + 23)));
    for (const char byte : {'\0', ' ', '%', '5', '.', '\r', '\xff'}) {
        const std::string line(kSize, byte);
        EXPECT_EQ(FindReportRow(line), std::nullopt) << static_cast<int>(byte);
        EXPECT_THAT(FindReportRow("5% " + line),
                    byte == ' ' || byte == '\r' ? Optional(testing::SizeIs(kSize + 3))
                                                : testing::Matcher<std::optional<std::string_view>>(
                                                      testing::Eq(std::nullopt)));
    }
    std::string signs;
    while (signs.size() < kSize) {
        signs += "% 5%";
    }
    EXPECT_EQ(FindReportRow(signs), std::nullopt);
}

TEST(ReportRowsTest, ARowIsFiveWordsOfWhichTheSecondIsNotShown) {
    ReportRows rows(9);
    rows.Add("64.15%    21.50%  app  libc.so.6  [.] main  ");
    rows.Add("0.10% 0.00% app [kernel.kallsyms] [k] handle");
    EXPECT_THAT(RowsOf(rows),
                ElementsAre("64.15%|app|libc.so.6|main|", "0.10%|app|[kernel.kallsyms]|handle|"));
}

TEST(ReportRowsTest, ASymbolWithABlankShiftsTheRowsBehindIt) {
    ReportRows rows(9);
    rows.Add("5% 4% app so [.] operator new");
    rows.Add("3% 2% app so [.] main");
    rows.Add("1% 1% app so [.] last");
    EXPECT_THAT(RowsOf(rows),
                ElementsAre("5%|app|so|operator|", "new|2%|app|so|", "main|1%|app|so|"));
}

TEST(ReportRowsTest, ARowThatIsBegunAndNotEndedIsDropped) {
    ReportRows rows(9);
    rows.Add("5% 4% app so");
    EXPECT_THAT(RowsOf(rows), IsEmpty());
    rows.Add("main 3%");
    EXPECT_THAT(RowsOf(rows), ElementsAre("5%|app|so|main|"));
}

TEST(ReportRowsTest, ThereAreNoMoreRowsThanAskedFor) {
    for (const std::uint32_t most : {0U, 1U, 2U, 3U, 4294967295U}) {
        ReportRows rows(most);
        rows.Add("5% 4% a b c 5% 4% a b c 5% 4% a b c");
        EXPECT_THAT(RowsOf(rows), testing::SizeIs(most < 3 ? most : 3));
    }
}

TEST(ReportRowsTest, OnlyBlanksPartWords) {
    ReportRows rows(9);
    rows.Add(std::string_view("5%\t1% 1% a\0b so [.]x\r 9%", 24));
    EXPECT_THAT(RowsOf(rows), ElementsAre(std::string("5%\t1%|a\0b|so|[.]x\r|", 19)));
}

TEST(ReportRowsTest, WhatPerfPrintsBecomesRows) {
    const std::string text = test::ReadText(test::DataPath("perf-6.1.187-profile/report.txt"));
    ReportRows rows(4);
    LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        if (const auto match = FindReportRow(line)) {
            rows.Add(*match);
        }
    }
    EXPECT_THAT(RowsOf(rows), ElementsAre("99.72%|planner_node|libc.so.6|__libc_start_call_main|",
                                          StartsWith("63."), StartsWith("21."), StartsWith("10.")));
}

}  // namespace
}  // namespace zarn
