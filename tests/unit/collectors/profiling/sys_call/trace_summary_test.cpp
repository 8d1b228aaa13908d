#include "collectors/profiling/sys_call/trace_summary.h"

#include <gmock/gmock.h>

#include "foundation/commands.h"
#include "tests/support/amounts.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ParseSummaryRow, TakesTheWordsBetweenAnyNumberOfBlanks) {
    EXPECT_THAT(
        ParseSummaryRow("openat            12.50    0.001000          10  0.000005    "
                        "0.000200       100         7"),
        ElementsAre("openat", "12.50", "0.001000", "10", "0.000005", "0.000200", "100", "7"));
    EXPECT_THAT(ParseSummaryRow(" a  b c d e f g h "),
                ElementsAre("a", "b", "c", "d", "e", "f", "g", "h"));
}

TEST(ParseSummaryRow, ACallThatNeverFailedHasNoErrors) {
    EXPECT_THAT(ParseSummaryRow("read              87.50    0.007000           7  0.000001    "
                                "0.000100      1000          "),
                ElementsAre("read", "87.50", "0.007000", "7", "0.000001", "0.000100", "1000", "0"));
}

TEST(ParseSummaryRow, OtherNumbersOfWordsAreKept) {
    EXPECT_THAT(ParseSummaryRow("read"), ElementsAre("read", "0"));
    EXPECT_THAT(ParseSummaryRow("read 87.50"), ElementsAre("read", "87.50", "0"));
    EXPECT_THAT(ParseSummaryRow("a b c d e f g h i j k l"), testing::SizeIs(12));
    EXPECT_THAT(ParseSummaryRow(""), IsEmpty());
    EXPECT_THAT(ParseSummaryRow("   "), IsEmpty());
}

TEST(ParseSummaryRow, OnlyBlanksPartWords) {
    EXPECT_THAT(ParseSummaryRow("a\tb c\r"), ElementsAre("a\tb", "c\r", "0"));
    EXPECT_THAT(ParseSummaryRow(std::string_view("a\0b", 3)),
                ElementsAre(std::string("a\0b", 3), "0"));
}

std::vector<SummaryRow> Summary(const std::string& output) {
    TraceSummary summary;
    CommandLineCursor lines(output);
    for (std::string_view line; lines.Next(line);) {
        summary.Add(line);
    }
    return summary.Take();
}

TEST(TraceSummary, HasARowForEachLine) {
    EXPECT_THAT(Summary("read 1 2 3 4 5 6 7\nwrite 1 2 3 4 5 6\n\nclose 1 2 3 4 5 6"),
                ElementsAre(ElementsAre("read", "1", "2", "3", "4", "5", "6", "7"),
                            ElementsAre("write", "1", "2", "3", "4", "5", "6", "0"),
                            ElementsAre("close", "1", "2", "3", "4", "5", "6", "0")));
    EXPECT_THAT(Summary(""), IsEmpty());
}

TEST(TraceSummary, ALineLongerThanAPieceIsOneRow) {
    for (const std::size_t size :
         std::vector<std::size_t>{511, 512, 1022, 1023, test::Amount(16U << 20U)}) {
        const auto rows = Summary(std::string(size, 'x') + "\nread 1\n");
        ASSERT_EQ(rows.size(), 2U) << size;
        EXPECT_EQ(rows[0].front().size(), 511U);
        EXPECT_EQ(rows[1].front(), "read");
    }
}

}  // namespace
}  // namespace zarn
