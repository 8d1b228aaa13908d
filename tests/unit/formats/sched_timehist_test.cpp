#include "formats/sched_timehist.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The columns of a row; none for a line that is no row.
std::vector<std::string> Columns(std::string_view line) {
    TimehistRow row;
    if (!ReadTimehistRow(line, row)) {
        return {};
    }
    std::vector<std::string> columns;
    for (const std::string_view column :
         {row.time, row.cpu, row.task, row.waitTime, row.schedDelay, row.runTime}) {
        columns.emplace_back(column);
    }
    return columns;
}

TEST(TimehistRowTest, BlanksPartTheColumns) {
    EXPECT_THAT(
        Columns("   16418.440755 [0000]  migration/0[18]            0.000      0.005      0.012 "),
        ElementsAre("16418.440755", "[0000]", "migration/0[18]", "0.000", "0.005", "0.012"));
    EXPECT_THAT(Columns("1 [0001] sh[12/10] 1 2 3"),
                ElementsAre("1", "[0001]", "sh[12/10]", "1", "2", "3"));
}

TEST(TimehistRowTest, ACallChainIsDropped) {
    EXPECT_THAT(Columns("1 [0000] a[2] 0.1 0.2 0.3    schedule_timeout <- f [x] 9 9 9]"),
                ElementsAre("1", "[0000]", "a[2]", "0.1", "0.2", "0.3"));
    EXPECT_THAT(Columns("1 [0000] <idle> 0.1 0.2 0.3    f <- [x]"),
                ElementsAre("1", "[0000]", "<idle>", "0.1", "0.2", "0.3"));
}

TEST(TimehistRowTest, ANameGoesOnToItsBracket) {
    EXPECT_THAT(Columns("1 [0000] my  own task[2] 0.1 0.2 0.3 "),
                ElementsAre("1", "[0000]", "my  own task[2]", "0.1", "0.2", "0.3"));
    // Whatever the name holds in between.
    EXPECT_THAT(Columns("1 [0000] a 1 2 b[2] 0.1 0.2 0.3"),
                ElementsAre("1", "[0000]", "a 1 2 b[2]", "0.1", "0.2", "0.3"));
    EXPECT_THAT(Columns("1 [0000] a 1 2 3[2] 0.1 0.2 0.3"),
                ElementsAre("1", "[0000]", "a 1 2 3[2]", "0.1", "0.2", "0.3"));
}

TEST(TimehistRowTest, WithoutABracketPiecesAreColumns) {
    EXPECT_THAT(Columns("1 [0000] a b 0.1 0.2"),
                ElementsAre("1", "[0000]", "a", "b", "0.1", "0.2"));
    EXPECT_THAT(Columns("--- -- --- -- -- --"), ElementsAre("---", "--", "---", "--", "--", "--"));
}

// Numbers are not judged here: each column is what it is.
TEST(TimehistRowTest, ABracketEndsTheNameWhateverFollows) {
    EXPECT_THAT(Columns("1 [0000] a[2] nan x\t -"),
                ElementsAre("1", "[0000]", "a[2]", "nan", "x\t", "-"));
    EXPECT_THAT(Columns("1 [0000] a[2] 1 2 3\r"),
                ElementsAre("1", "[0000]", "a[2]", "1", "2", "3\r"));
}

TEST(TimehistRowTest, FewerThanSixColumnsAreNoRow) {
    for (const char* line : {"", "   ", "1", "1 [0000]", "1 [0000] a[2]", "1 [0000] a[2] 1 2",
                             "1 [0000] my task[2] 1 2", "1 [0000] a b c 1 2 x]"}) {
        EXPECT_THAT(Columns(line), IsEmpty()) << line;
    }
}

TEST(TimehistRowTest, ALineOfMegabytesIsReadLikeAnyOther) {
    const std::string name = std::string(8 << 20, 'n') + " " + std::string(8 << 20, 'm') + "[7]";
    EXPECT_EQ(Columns("1 [0000] " + name + " 1 2 3")[2], name);
    std::string manyBlanks = "1 [0000] ";
    for (int i = 0; i < 1 << 20; ++i) {
        manyBlanks += "a ";
    }
    EXPECT_EQ(Columns(manyBlanks)[2], "a");
}

// The rows of a real log: every line behind the head is one.
TEST(TimehistRowTest, EveryLineOfARealLogIsARow) {
    for (const char* name :
         {"perf-6.1.187/sched_timehist.log", "perf-6.1.187/sched_timehist_callchains.log"}) {
        const std::string text = ReadText(DataPath(name));
        LineCursor lines(text);
        std::size_t count = 0;
        for (std::string_view line; lines.Next(line); ++count) {
            if (count < kTimehistHeadLines) {
                continue;
            }
            TimehistRow row;
            ASSERT_TRUE(ReadTimehistRow(line, row)) << line;
            EXPECT_EQ(row.cpu.size(), 6U) << line;
            EXPECT_EQ(SplitTimehistTask(row.task).tid.empty(), IsIdleTask(row.task)) << line;
            EXPECT_EQ(row.runTime.find('.') + 4, row.runTime.size()) << line;
        }
        EXPECT_GT(count, kTimehistHeadLines);
    }
    const std::string nothing = ReadText(DataPath("perf-6.1.187/sched_timehist_empty.log"));
    EXPECT_EQ(std::count(nothing.begin(), nothing.end(), '\n'), kTimehistHeadLines);
}

TEST(TimehistTaskTest, TheTidStandsInTheBracketsAtTheEnd) {
    const auto split = [](const char* task) {
        const TimehistTask parts = SplitTimehistTask(task);
        return std::string(parts.name) + "|" + std::string(parts.tid);
    };
    EXPECT_EQ(split("migration/0[18]"), "migration/0|18");
    EXPECT_EQ(split("sh[12/10]"), "sh|12/10");
    EXPECT_EQ(split("a[1]b[2]"), "a[1]b|2");
    EXPECT_EQ(split("<idle>"), "<idle>|");
    EXPECT_EQ(split("a[2"), "a[2|");
    EXPECT_EQ(split("a]2["), "a]2[|");
    EXPECT_EQ(split(""), "|");
}

}  // namespace
}  // namespace zarn::test
