#include "foundation/time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/stop_flag.h"
#include "kit/cost.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/process_state.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using test::Capture;
using test::Captured;

// Local time for the time of a test, as a rule that needs no data base of zones.
class ScopedZone {
public:
    explicit ScopedZone(const std::string& rule) : variable_(std::in_place, "TZ", rule) {
        ::tzset();
    }
    ScopedZone(const ScopedZone&) = delete;
    ScopedZone& operator=(const ScopedZone&) = delete;
    ~ScopedZone() {
        variable_.reset();
        ::tzset();
    }

private:
    std::optional<test::ScopedVariable> variable_;
};

constexpr const char* kPlainZone = "UTC0";
constexpr const char* kSummerZone = "CET-1CEST,M3.5.0,M10.5.0/3";

TEST(GetCurrentTimeString, Gives17DigitsOfLocalTime) {
    for (const char* zone : {kPlainZone, "EST5", "ABC-13:30"}) {
        const ScopedZone scope(zone);
        const auto before = std::chrono::system_clock::now();
        std::string text = "before";
        ASSERT_TRUE(GetCurrentTimeString(text));
        const auto after = std::chrono::system_clock::now();
        ASSERT_EQ(text.size(), 17U);
        EXPECT_EQ(text.find_first_not_of("0123456789"), std::string::npos) << text;
        std::uint64_t milliseconds = 0;
        ASSERT_TRUE(TimeStringToTimestamp(text, milliseconds));
        const auto sinceEpoch = [](std::chrono::system_clock::time_point time) {
            return static_cast<std::uint64_t>(
                std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch())
                    .count());
        };
        EXPECT_GE(milliseconds, sinceEpoch(before));
        EXPECT_LE(milliseconds, sinceEpoch(after));
    }
}

TEST(GetBootTime, CutsTheLastCharacter) {
    test::FakeRunner runner;
    runner.On("date", "20230101120000\n");
    std::string text;
    EXPECT_TRUE(GetBootTime(text, runner));
    EXPECT_EQ(text, "20230101120000");
    EXPECT_EQ(runner.Commands(),
              std::vector<std::string>{"date \"+%Y%m%d%H%M%S\" --date=\"-$(awk '{print $1}' "
                                       "/proc/uptime) second\""});
    EXPECT_TRUE(GetBootTime(text));
    EXPECT_EQ(text.size(), 14U);
}

TEST(GetBootTime, SaysThatThereIsNoOutput) {
    test::FakeRunner silent;
    std::string text = "before";
    Captured captured = Capture([&] { EXPECT_FALSE(GetBootTime(text, silent)); });
    EXPECT_EQ(captured.err, "[sched] Failed to get cmd execution result!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(text, "before");
    test::FakeRunner broken;
    broken.Refuse("date");
    captured = Capture([&] { EXPECT_FALSE(GetBootTime(text, broken)); });
    EXPECT_EQ(captured.err,
              "[zarn_utils] Failed to popen command!\n"
              "[sched] Failed to get cmd execution result!\n");
}

struct Moment {
    const char* zone;
    std::uint64_t milliseconds;
    const char* text;
};

class TimestampToStringTest : public testing::TestWithParam<Moment> {};

TEST_P(TimestampToStringTest, GivesLocalTime) {
    const ScopedZone scope(GetParam().zone);
    std::string text;
    EXPECT_TRUE(TimestampToString(GetParam().milliseconds, text));
    EXPECT_EQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Moments, TimestampToStringTest,
                         testing::Values(Moment{kPlainZone, 0, "19700101000000000"},
                                         Moment{kPlainZone, 1672574400005, "20230101120000005"},
                                         Moment{kPlainZone, 1672574400050, "20230101120000050"},
                                         Moment{kPlainZone, 1672574400500, "20230101120000500"},
                                         Moment{"EST5", 1672574400123, "20230101070000123"},
                                         Moment{kSummerZone, 1688205600000, "20230701120000000"},
                                         Moment{kPlainZone, 2147483647999, "20380119031407999"}));

TEST(TimestampToString, RefusesSecondsPast31Bits) {
    for (const std::uint64_t milliseconds : {std::uint64_t{2147483648000}, ~std::uint64_t{0}}) {
        std::string text = "before";
        const Captured captured =
            Capture([&] { EXPECT_FALSE(TimestampToString(milliseconds, text)); });
        EXPECT_EQ(captured.err,
                  "[zarn_utils] Error: The timestamp is too large to convert to a string!\n");
        EXPECT_EQ(captured.out, "");
        EXPECT_EQ(text, "before");
    }
}

struct TimeText {
    const char* zone;
    const char* text;
    bool result;
    std::uint64_t milliseconds;  // 7: as before
    const char* line;
};

constexpr const char* kNoTm = "[zarn_utils] Error: strptime Failed to convert timeString to tm!!\n";
constexpr const char* kNoTimestamp =
    "[zarn_utils] Error: Failed to convert timeString to timeStamp!\n";
constexpr const char* kTooShort = "[zarn_utils] The length of TimeStr is incorrect!\n";

class TimeStringToTimestampTest : public testing::TestWithParam<TimeText> {};

TEST_P(TimeStringToTimestampTest, ReadsLocalTime) {
    const ScopedZone scope(GetParam().zone);
    std::uint64_t milliseconds = 7;
    const Captured captured = Capture([&] {
        EXPECT_EQ(TimeStringToTimestamp(GetParam().text, milliseconds), GetParam().result);
    });
    EXPECT_EQ(milliseconds, GetParam().milliseconds);
    EXPECT_EQ(captured.err, GetParam().line);
    EXPECT_EQ(captured.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TimeStringToTimestampTest,
    testing::Values(TimeText{kPlainZone, "20230101120000123", true, 1672574400123, ""},
                    TimeText{"EST5", "20230101070000123", true, 1672574400123, ""},
                    TimeText{kPlainZone, "", false, 7, kTooShort},
                    TimeText{kPlainZone, "2023010112000012", false, 7, kTooShort},
                    TimeText{kPlainZone, "202301011200001234", true, 1672574401234, ""},
                    TimeText{kPlainZone, "20230101120000-12", true, 1672574399988, ""},
                    TimeText{kPlainZone, "202301011200001xy", true, 1672574400001, ""},
                    TimeText{kPlainZone, "20230101120000abc", false, 7, kNoTimestamp},
                    TimeText{kPlainZone, "2023010112000099999999999", false, 7, kNoTimestamp},
                    // It goes on with what was read before the fault: the year alone, whose day 0
                    // of month 0 is the last one of the year before.
                    TimeText{kPlainZone, "20231301120000005", true, 1672444800005, kNoTm},
                    // Nothing was read: the year 1900.
                    TimeText{kPlainZone, "xxxxxxxxxxxxxx005", false, 7,
                             "[zarn_utils] Error: strptime Failed to convert timeString to tm!!\n"
                             "[zarn_utils] Error: Failed to convert timeString to timeStamp!\n"},
                    TimeText{kPlainZone, "19691231235959000", false, 7, kNoTimestamp},
                    TimeText{kPlainZone, "19700101000000005", true, 5, ""},
                    // The record says that no summer time is meant.
                    TimeText{kSummerZone, "20230701120000000", true, 1688209200000, ""}));

TEST(TimestampToSeconds, ReadsMinutesAndSeconds) {
    const std::vector<std::pair<const char*, std::uint32_t>> cases = {
        {"0", 0},
        {"999", 0},
        {"1000", 1},
        {"0059999", 59},
        {"100000", 60},
        {"1234567", 754},
        {"9959999", 99 * 60 + 59},
        {"0199000", 159},
        {"4294967295", 42949 * 60 + 67}};
    for (const auto& [digits, expected] : cases) {
        std::uint32_t seconds = 7;
        EXPECT_TRUE(TimestampToSeconds(digits, seconds));
        EXPECT_EQ(seconds, expected) << digits;
    }
    std::uint32_t seconds = 7;
    const Captured captured = Capture([&] { EXPECT_FALSE(TimestampToSeconds("x", seconds)); });
    EXPECT_EQ(captured.err,
              "[Utils] Invalid argument\n[zarn_utils] Failed to convert timestamp to seconds!\n");
    EXPECT_EQ(seconds, 7U);
}

TEST(GetFileTimestamp, IsTheTokenBeforeTheLastOfTheLastToken) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"/a/cpu_global_1_20230101120000123.log", "20230101120000123"},
        {"x_1.2.log", "2"},
        {"x_1", "1"},
        {"1.log", "1"},
        {"name", "name"},
        {"x_1.log_", "1"},
        {"x_1..log", "1"},
        {"x_.log", ".log"},
        {"x_1.", "1."},
        {"_", ""},
        {"", ""}};
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(GetFileTimestamp(path), expected) << path;
    }
}

// Long enough that no machine is so late; short enough for a test that fails.
constexpr std::uint32_t kManySeconds = 30;

bool SleepsToTheEnd(const StopFlag& stopFlag) {
    const auto start = std::chrono::steady_clock::now();
    SleepSeconds(kManySeconds, &stopFlag);
    return std::chrono::steady_clock::now() - start >= std::chrono::seconds(kManySeconds);
}

TEST(SleepSeconds, ReturnsAtOnceWithNothingToSleep) {
    EXPECT_FALSE(SleepsToTheEnd(StopFlag{1}));
    const StopFlag running{0};
    SleepSeconds(0, &running);
}

TEST(SleepSeconds, EndsEarlyWhenTheFlagIsSet) {
    StopFlag stopFlag{0};
    std::thread interrupt([&stopFlag] { stopFlag = 1; });
    EXPECT_FALSE(SleepsToTheEnd(stopFlag));
    interrupt.join();
}

TEST(SleepSeconds, SleepsWholeSeconds) {
    const StopFlag running{0};
    const auto start = std::chrono::steady_clock::now();
    SleepSeconds(1, &running);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(SleepFor, ReturnsAtOnceWithNothingToSleep) {
    const StopFlag stopped{1};
    const auto start = std::chrono::steady_clock::now();
    SleepFor(std::chrono::seconds(kManySeconds), &stopped);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(kManySeconds));
    const StopFlag running{0};
    SleepFor(std::chrono::milliseconds(0), &running);
    SleepFor(std::chrono::milliseconds(-1), &running);
}

TEST(SleepFor, EndsEarlyWhenTheFlagIsSet) {
    StopFlag stopFlag{0};
    const auto start = std::chrono::steady_clock::now();
    std::thread interrupt([&stopFlag] { stopFlag = 1; });
    SleepFor(std::chrono::seconds(kManySeconds), &stopFlag);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(kManySeconds));
    interrupt.join();
}

TEST(SleepFor, SleepsMilliseconds) {
    const StopFlag running{0};
    const auto start = std::chrono::steady_clock::now();
    SleepFor(std::chrono::milliseconds(20), &running);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(RecordCostTime, AppendsAndPassesOverAMissingFolder) {
    const test::TempDir directory;
    directory.Write("env_info/time_cost.log", "[A] cost time: 1s\n");
    std::ostringstream text;
    text << "[B] cost time: " << 0.25 << "s\n";
    RecordCostTime(directory.Path(), text);
    EXPECT_EQ(directory.Read("env_info/time_cost.log"),
              "[A] cost time: 1s\n[B] cost time: 0.25s\n");
    const Captured captured = Capture([&] { RecordCostTime(directory.Path() + "missing/", text); });
    EXPECT_EQ(captured.out + captured.err, "");
}

TEST(RecordCostTime, LinesOfParallelMissionsStayWhole) {
    const test::TempDir directory;
    directory.Write("env_info/time_cost.log", "");
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&directory] {
            for (int round = 0; round < 20; ++round) {
                std::ostringstream text;
                text << std::string(100, 'x') << "\n";
                RecordCostTime(directory.Path(), text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string expected;
    for (int i = 0; i < 160; ++i) {
        expected += std::string(100, 'x') + "\n";
    }
    EXPECT_EQ(directory.Read("env_info/time_cost.log"), expected);
}

TEST(MissionCost, WritesOneLineWithWholeMilliseconds) {
    const test::TempDir directory;
    directory.Write("env_info/time_cost.log", "");
    MissionCost().Record("XCollector", directory.Path());
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        directory.Read("env_info/time_cost.log"),
        testing::internal::RE("\\[XCollector\\] cost time: [0-9.]+s\n")));
}

TEST(MissionCost, WritesAMissionsOwnWords) {
    const test::TempDir directory;
    directory.Write("env_info/time_cost.log", "");
    MissionCost().Record("XCollector", directory.Path(), "] Took: ");
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        directory.Read("env_info/time_cost.log"),
        testing::internal::RE("\\[XCollector\\] Took: [0-9.]+s\n")));
}

TEST(MissionCost, PrintsTheLineThatItWrites) {
    const test::TempDir directory;
    directory.Write("env_info/time_cost.log", "");
    const Captured captured = Capture([&] {
        MissionCost().Record("YCollector", directory.Path());
        MissionCost().RecordAndPrint("XCollector", directory.Path());
    });
    const std::string log = directory.Read("env_info/time_cost.log");
    EXPECT_EQ(log.substr(log.find("[XCollector] cost time: ")), captured.out);
    EXPECT_NE(captured.out, "");
}

}  // namespace
}  // namespace zarn
