#include "analyzers/cpu/cpu_matchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/analyzers/cpu/cpu_oracle.h"

namespace zarn {
namespace {

using testing::ElementsAre;

// The groups behind [0] of a match, none if there is none.
std::vector<std::string> Groups(CpuMatcher matcher, std::string_view line, std::size_t count) {
    CpuGroups groups;
    if (!matcher(line, groups)) {
        return {};
    }
    return {groups.begin() + 1, groups.begin() + 1 + static_cast<std::ptrdiff_t>(count)};
}

TEST(CpuMatchers, TakeTheLinesOfTop) {
    EXPECT_THAT(
        Groups(MatchTop, "top - 20:33:17 up 17 min,  0 user,  load average: 0.72, 10.3, 12", 4),
        ElementsAre("20:33:17", "0.72", "10.3", "12"));
    EXPECT_THAT(Groups(MatchTasks, "Tasks:  84 total,   1 running", 1), ElementsAre("84"));
    EXPECT_THAT(Groups(MatchCpu,
                       "%Cpu(s):  0.1 us,  0.2 sy,  0.3 ni,100.0 id,  0.5 wa,  0.6 hi,  0.7 si,  "
                       "0.8 st ",
                       8),
                ElementsAre("0.1", "0.2", "0.3", "100.0", "0.5", "0.6", "0.7", "0.8"));
    EXPECT_THAT(Groups(MatchCoresCpu,
                       "Cpu12  :  0.1 us,  0.2 sy,  0.3 ni,100.0 id,  0.5 wa,  0.6 hi,  0.7 si,  "
                       "0.8 st   ",
                       9),
                ElementsAre("Cpu12", "0.1", "0.2", "0.3", "100.0", "0.5", "0.6", "0.7", "0.8"));
    EXPECT_THAT(
        Groups(MatchProcInfo,
               "   14 root      20   0       0      0      0 S  12.5   0.1   0:00.04 ksoftirqd/0",
               3),
        ElementsAre("14", "12.5", "ksoftirqd/0"));
}

TEST(CpuMatchers, TheHeaderLinesOfTopAreNoProcesses) {
    CpuGroups groups;
    for (const char* line :
         {"top - 20:33:17 up 17 min,  0 user,  load average: 0.72, 0.32, 0.14",
          "MiB Mem :  24105.6 total,  23407.8 free,    423.7 used,    522.3 buff/cache     ",
          "MiB Swap:      0.0 total,      0.0 free,      0.0 used.  23681.9 avail Mem ",
          "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND", ""}) {
        EXPECT_FALSE(MatchProcInfo(line, groups)) << line;
    }
}

TEST(CpuMatchers, ATimeStampIsTheFirstRunOfSeventeenDigits) {
    CpuGroups groups;
    ASSERT_TRUE(MatchTimeStamp("x1234567890123456 '20230101120000123456", groups));
    EXPECT_EQ(groups[0], "20230101120000123");
    EXPECT_FALSE(MatchTimeStamp("2023010112000012 3", groups));
}

// Lines on which greedy, lazy or backtracking parts of an expression have more than one way to go.
class CpuMatchersCornerTest : public testing::TestWithParam<std::string> {};

TEST_P(CpuMatchersCornerTest, AgreeWithTheCompiledExpressions) {
    EXPECT_EQ(test::DifferencesFromOracle(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(
    ProcessRows, CpuMatchersCornerTest,
    testing::Values("1 A 12 b", "1 A 12  b", "1 A 12 b c", "1 A 12 b ", "1A12  b", "1 A 1 b c",
                    "1 A 1. b c", "1 A .1 b c", "1 A 1.2.3 b c", "A 1 B 2.5 c d", "1 A 2.5 B 3 c d",
                    "1 A 2.5 B 33 c", "1 A 2.5 B 33  c", "x1y2 A 10 c d", "1 A 10 c\rd",
                    "1 A 10 \rd", "1 A 10\r\rd", "1 A\r10 x d", "1\rA 10 x d", "1\r2 A 10 x d",
                    "1 2\rA 10 x d e\rf g", "1 A 10 x d \r", "1 A 10 x\r \r", "\r 1 A 10 x d",
                    "1 A 10 x y\v z", "0A00 A00 A00", std::string("1 A 10 \0 b", 10)));

INSTANTIATE_TEST_SUITE_P(
    Summaries, CpuMatchersCornerTest,
    testing::Values("top - 1:2:3 up load average: x load average: 1.0, 2.0, 33",
                    "top - 1:2:3 up load average:1.0,2.0,3.45.6",
                    "top  -  1:2:3  up\rload average:"
                    "1.0,2.0,3.4",
                    "top - 1:2:3 upload average:1.0,\r2.0,3.4",
                    " top - 1:2:3 up load average:1.0,2.0,3.4", "top - 1:2:3 up load average:12.,",
                    "top - 1:2:3 up load average:1.0,2.0,12.x", "Tasks:1total", "Tasks: 12  total",
                    "Tasks: 12 total,\r x", "Tasks: total", " Tasks: 1 total",
                    "Cpu(s):Cpu(s):10us,10sy,10ni,10id,10wa,10hi,10si,10st",
                    "Cpu(s):10us,10sy,10ni,1id,10wa,10hi,10si,10st",
                    "Cpu1Cpu2 :10us,10sy,10ni,10id,10wa,10hi,10si,10st",
                    "Cpu2:10us,10sy,10ni,10id,10wa,10hi,10si,10st",
                    "Cpu2\r:\r10us,10sy,10ni,10id,10wa,10hi,10si,10.st"));

// A line of megabytes is decided like a short one; the compiled expressions would overflow the
// stack.
TEST(CpuMatchers, DecideLinesOfAnyLength) {
    const std::string filling(std::size_t{4} << 20U, 'x');
    EXPECT_THAT(Groups(MatchProcInfo, "1 " + filling + " A 12.5 " + filling + " name", 3),
                ElementsAre("1", "12.5", "name"));
    EXPECT_THAT(
        Groups(MatchTop, "top - 1:2:3 up " + filling + "load average: 1.0, 2.0, 3.0" + filling, 4),
        ElementsAre("1:2:3", "1.0", "2.0", "3.0"));
    EXPECT_THAT(Groups(MatchTasks, "Tasks: 12 total" + filling, 1), ElementsAre("12"));
    EXPECT_TRUE(Groups(MatchCpu, filling, 8).empty());
    EXPECT_TRUE(Groups(MatchCoresCpu, filling, 9).empty());
}

}  // namespace
}  // namespace zarn
