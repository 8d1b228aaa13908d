#include "collectors/system/cpu_peak/stat_counts.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {

bool operator==(const CoreCounts& a, const CoreCounts& b) {
    return a.idle == b.idle && a.total == b.total;
}

void PrintTo(const CoreCounts& counts, std::ostream* out) {
    *out << counts.idle << "/" << counts.total;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Read {
    StatResult result = StatResult::Ok;
    std::vector<CoreCounts> counts = {{7, 7}};
    std::string err;
};

Read Parse(const std::string& text, std::size_t coreCount) {
    Read read;
    read.err =
        test::Capture([&] { read.result = ParseStatCounts(text, coreCount, read.counts); }).err;
    return read;
}

constexpr const char* kSum = "cpu  9 9 9 9 9 9 9 9 9 9\n";

TEST(StatCountsTest, EachLineBehindTheSumIsACore) {
    const Read read = Parse(std::string(kSum) +
                                "cpu0 1 2 3 40 5 6 7 8 9 10\n"
                                "cpu1 10 0 0 400 0 0 0 0 0 0\n"
                                "intr 5 6 7 8 9 10 11\n",
                            2);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{40, 91}, CoreCounts{400, 410}));
    EXPECT_EQ(read.err, "");
}

TEST(StatCountsTest, NoMoreLinesThanThereAreCoresCount) {
    const Read read = Parse(std::string(kSum) + "cpu0 1 2 3 4 5\ncpu1 1 2 3 4 5\ntorn", 1);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 15}));
}

// The numbers of the others stay in their lines: the second line is core 1, whatever its name.
TEST(StatCountsTest, WithACoreOfflineTheLineBehindTheCoresEndsThem) {
    const Read read = Parse(std::string(kSum) +
                                "cpu0 1 0 0 4 0\n"
                                "cpu2 2 0 0 8 0\n"
                                "cpu3 3 0 0 9 0\n"
                                "intr 1 2 3 4 5 6 7\n"
                                "ctxt 8\n",
                            4);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 5}, CoreCounts{8, 10}, CoreCounts{9, 12}));
}

TEST(StatCountsTest, AnyOtherLineIsTakenAsACore) {
    const Read read = Parse("whatever\nsoftirq 1 2 3 4 5\n", 1);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 15}));
}

TEST(StatCountsTest, ALineNeedsSixColumns) {
    for (const char* line :
         {"", "cpu0", "cpu0 1 2 3 4", "      ", "interrupts 1 2 3 4", "cpu0 a 2 3 b"}) {
        const Read read = Parse(std::string(kSum) + "cpu0 1 2 3 4 5\n" + line + "\n", 2);
        EXPECT_EQ(read.result, StatResult::Incomplete) << line;
        EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 15})) << line;
        EXPECT_EQ(read.err, "") << line;
    }
}

TEST(StatCountsTest, ATextThatEndsBeforeItsCoresIsIncomplete) {
    for (const char* text : {"", "\n", "cpu", "cpu  1 2 3 4 5\n"}) {
        const Read read = Parse(text, 1);
        EXPECT_EQ(read.result, StatResult::Incomplete) << text;
        EXPECT_THAT(read.counts, IsEmpty()) << text;
    }
}

TEST(StatCountsTest, BlanksPartColumnsAndALastLineNeedsNoEnd) {
    const Read read = Parse("cpu\n  cpu0   1  2 3   4 5  ", 1);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 15}));
}

TEST(StatCountsTest, CountsHave32Bits) {
    const Read read = Parse(
        "cpu\ncpu0 4294967295 1 0 4294967298 5\ncpu1 18446744073709551615 1 0 18446744073709551615 "
        "1\n",
        2);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{2, 7}, CoreCounts{4294967295U, 0}));
    EXPECT_EQ(read.err, "");
}

TEST(StatCountsTest, AColumnThatIsNoNumberIsTold) {
    const Read word = Parse("cpu\ncpu0 1 2 three 4 5\n", 1);
    EXPECT_EQ(word.result, StatResult::NotNumber);
    EXPECT_THAT(word.counts, IsEmpty());
    EXPECT_EQ(word.err, "[Utils] Invalid argument\n");
    const Read large = Parse("cpu\ncpu0 1 2 3 4 18446744073709551616\n", 1);
    EXPECT_EQ(large.result, StatResult::NotNumber);
    EXPECT_EQ(large.err, "[Utils] Out of range\n");
}

TEST(StatCountsTest, WhatTheConversionTakesIsTaken) {
    const Read read = Parse("cpu\r\ncpu0 +1 2nd 3 4 5\r\n", 1);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{4, 15}));
}

TEST(StatCountsTest, ALineOfMegabytesIsOneOfManyColumns) {
    std::string line = "cpu0";
    constexpr std::uint32_t kColumns = 4000000;
    for (std::uint32_t i = 0; i < kColumns; ++i) {
        line += " 1";
    }
    const Read read = Parse("cpu\n" + line + "\n", 1);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, ElementsAre(CoreCounts{1, kColumns}));
    EXPECT_EQ(Parse("cpu\n" + std::string(16U << 20U, 'x'), 1).result, StatResult::Incomplete);
}

TEST(StatCountsTest, ACapturedFileIsRead) {
    const Read read = Parse(test::ReadText(test::DataPath("linux-6.18-stat/stat.txt")), 2);
    EXPECT_EQ(read.result, StatResult::Ok);
    EXPECT_THAT(read.counts, testing::SizeIs(2));
}

}  // namespace
}  // namespace zarn
