#include "comparators/hot_fun/diff_rows.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/amounts.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::size_t> EndsOf(const std::vector<std::string>& comments) {
    DiffColumns columns;
    for (const std::string& comment : comments) {
        columns.Read(comment);
    }
    return columns.Ends();
}

TEST(DiffColumnsTest, NumbersEndWhereTheirHeadingsDo) {
    EXPECT_THAT(EndsOf({"# Baseline  Delta Abs  Shared Object         Symbol     "}),
                ElementsAre(9, 20));
    EXPECT_THAT(EndsOf({"# Baseline/0  Delta Abs/1  Delta Abs/2  Shared Object  Symbol   "}),
                ElementsAre(11, 24, 37));
}

TEST(DiffColumnsTest, OtherCommentsHaveNoHeadings) {
    for (const char* comment :
         {"#", "# ", "# Event 'cycles'", "#  [0] v1/p.data (Baseline)", "# Baselin", "#Baseline 1 ",
          "# ........  .........  ", "# baseline  Delta Abs  ", ""}) {
        EXPECT_THAT(EndsOf({comment}), ElementsAre()) << comment;
    }
    EXPECT_THAT(EndsOf({"# Baseline"}), ElementsAre());  // nothing stands behind it
    EXPECT_THAT(EndsOf({"# Baseline "}), ElementsAre(9));
}

TEST(DiffColumnsTest, TheColumnsOfAllHeadingsCount) {
    EXPECT_THAT(EndsOf({"# Baseline  Delta Abs  Symbol ", "# Event", "# Baseline/0  x"}),
                ElementsAre(9, 11, 20));
}

std::string TableOf(const std::vector<std::string>& versions, const std::string& headings,
                    const std::vector<std::string>& rows) {
    DiffColumns columns;
    columns.Read(headings);
    std::string text;
    DiffTable table(versions, [&text](std::string_view piece) { text += piece; });
    for (const std::string& row : rows) {
        table.Add(row, columns);
    }
    table.Flush();
    return text;
}

constexpr const char* kHeadings = "# Baseline  Delta Abs  Shared Object  Symbol  ";
constexpr const char* kHead = "v1,v2,Shared Object,Symbol\n";

TEST(DiffTableTest, ARowHasACellForEachVersionTheObjectAndTheSymbol) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings,
                      {"    64.15%    -23.25%  app            [.] main  ",
                       "     0.06%     -0.02%  [kernel]       [k] handle"}),
              std::string(kHead) +
                  "\"64.15%\",\"-23.25%\",\"app\",\"main\"\n"
                  "\"0.06%\",\"-0.02%\",\"[kernel]\",\"handle\"\n");
}

TEST(DiffTableTest, AFunctionThatAVersionLacksHasABlankThere) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings,
                      {"               +8.84%  app            [.] OnlyHere",
                       "     0.06%             [kernel]       [k] Gone"}),
              std::string(kHead) +
                  "\" \",\"+8.84%\",\"app\",\"OnlyHere\"\n"
                  "\"0.06%\",\" \",\"[kernel]\",\"Gone\"\n");
}

// A number that ends before its column does: the column counts as empty, and comes first.
TEST(DiffTableTest, AWordBeforeAColumnsEndStandsBehindTheBlank) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings, {"     1.2%      +8.84%  app [.] f"}),
              std::string(kHead) + "\" \",\"1.2%\",\"+8.84%\",\"app\"\n\"f\",");
}

// The place itself holds a letter, so the column is not empty.
TEST(DiffTableTest, AWordThatBeginsAtAColumnsEndHasNoBlankBeforeIt) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings, {"         1.25%     +8.84%  app [.] f"}),
              std::string(kHead) + "\"1.25%\",\"+8.84%\",\"app\",\"f\"\n");
}

TEST(DiffTableTest, ASymbolWithBlanksShiftsTheRowsBehindIt) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings,
                      {"    64.15%    -23.25%  app            [.] operator new",
                       "     0.06%     -0.02%  app            [.] main"}),
              std::string(kHead) +
                  "\"64.15%\",\"-23.25%\",\"app\",\"operator\"\n"
                  "\"new\",\"0.06%\",\"-0.02%\",\"app\"\n"
                  "\"main\",");
}

TEST(DiffTableTest, LinesWithoutWordsHaveNoCells) {
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings, {"", "   ", "[k]", "[.] [k]"}), kHead);
    // But a line of blanks that reaches a column's end has one there.
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings, {"          "}), std::string(kHead) + "\" \",");
}

TEST(DiffTableTest, WithoutHeadingsNoColumnIsMissed) {
    EXPECT_EQ(TableOf({"v1", "v2"}, "", {"               +8.84%  app  [.] OnlyHere"}),
              std::string(kHead) + "\"+8.84%\",\"app\",\"OnlyHere\",");
}

TEST(DiffTableTest, CellsKeepTheirBytes) {
    const std::string row("1\t\"2\" a\0b [.]x y\r", 17);
    EXPECT_EQ(TableOf({"a,b", "\"c\""}, "", {row}),
              "a,b,\"c\",Shared Object,Symbol\n\"1\t\"2\"\",\"a" + std::string(1, '\0') +
                  "b\",\"[.]x\",\"y\r\"\n");
}

// Not shown where they differ.
TEST(DiffTableTest, ALineMayHaveAnyLength) {
    const std::string symbol(test::Amount(16U << 20U), 's');
    EXPECT_TRUE(TableOf({"v1", "v2"}, "", {"1% 2% app " + symbol}) ==
                kHead + ("\"1%\",\"2%\",\"app\",\"" + symbol) + "\"\n");
    EXPECT_EQ(TableOf({"v1", "v2"}, kHeadings, {std::string(test::Amount(16U << 20U), ' ')}),
              std::string(kHead) + "\" \",\" \",");
}

TEST(DiffTableTest, ATableOfAnyLengthComesInPieces) {
    std::string expected = kHead;
    std::string text;
    std::size_t longest = 0;
    DiffTable table({"v1", "v2"}, [&](std::string_view piece) {
        text += piece;
        longest = std::max(longest, piece.size());
    });
    std::string longRow;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i);
        const std::string row = number + "% x  " + number + "  [.] symbol ";
        longRow += row;
        table.Add(row, {});
        expected += "\"" + number + "%\",\"x\",\"" + number + "\",\"symbol\"\n";
    }
    expected += expected.substr(std::string(kHead).size());
    table.Add(longRow, {});
    table.Flush();
    EXPECT_TRUE(text == expected);
    EXPECT_LT(longest, text.size() / 10);
}

std::string CapturedTable(const char* name, const std::vector<std::string>& versions) {
    const std::string text =
        test::ReadText(test::DataPath(std::string("perf-6.1.187-profile/") + name));
    std::string headings;
    std::vector<std::string> rows;
    LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        if (line.substr(0, 10) == "# Baseline") {
            headings = line;
        } else if (line.front() != '#') {
            rows.emplace_back(line);
        }
    }
    return TableOf(versions, headings, rows);
}

TEST(DiffTableTest, WhatPerfPrintsBecomesATable) {
    const std::string two = CapturedTable("diff_two.txt", {"v1", "v2"});
    EXPECT_THAT(two, StartsWith("v1,v2,Shared Object,Symbol\n\"6"));
    EXPECT_THAT(two, HasSubstr("%\",\"planner_node\",\"PlanRoute\"\n"));
    EXPECT_THAT(two, HasSubstr("\n\" \",\"+"));
    const std::string three = CapturedTable("diff_three.txt", {"v1", "v2", "v3"});
    EXPECT_THAT(three, StartsWith("v1,v2,v3,Shared Object,Symbol\n\"6"));
    EXPECT_THAT(three, HasSubstr("%\",\"planner_node\",\"WaitForMap\"\n"));
    EXPECT_THAT(three, HasSubstr("\n\" \",\"+"));
}

}  // namespace
}  // namespace zarn
