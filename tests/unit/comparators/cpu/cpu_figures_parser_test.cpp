#include "comparators/cpu/cpu_figures_parser.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using Figures = std::map<std::string, double>;
constexpr const char* kNoNumber = "[Utils] Invalid argument\n";

// What a line gives: its figures by name, the failure and what the utilities printed.
struct Parsed {
    Figures figures;
    bool failed = false;
    std::string unknownKind;
    std::string words;
};

Parsed Parse(SummaryLine kind, const std::string& line) {
    Parsed parsed;
    SystemValues values;
    parsed.words = test::Capture([&] {
                       if (const auto failure = ParseSummaryLine(kind, line, values)) {
                           parsed.failed = true;
                           parsed.unknownKind = failure->unknownKind;
                       }
                   }).err;
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (const double value : values[i]) {
            parsed.figures[std::string(kSystemFigures[i].name)] = value;
        }
    }
    return parsed;
}

struct LineCase {
    SummaryLine kind;
    const char* line;
    Figures figures;
};

class SummaryLineTest : public testing::TestWithParam<LineCase> {};

TEST_P(SummaryLineTest, GivesItsFigures) {
    const Parsed parsed = Parse(GetParam().kind, GetParam().line);
    EXPECT_EQ(parsed.figures, GetParam().figures);
    EXPECT_FALSE(parsed.failed);
    EXPECT_EQ(parsed.words, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SummaryLineTest,
    testing::Values(
        LineCase{SummaryLine::Load,
                 "top - 20:20:06 up 4 min,  0 user,  load average: 0.69, 0.22, 0.07",
                 {{"load_avg_1_min", 0.69}, {"load_avg_5_min", 0.22}, {"load_avg_15_min", 0.07}}},
        LineCase{SummaryLine::Load,
                 "top - 20:20:06 up 12 days, 3:04,  2 users,  load average: 10.5, 22.25, 107, 9",
                 {{"load_avg_1_min", 10.5}, {"load_avg_5_min", 22.25}, {"load_avg_15_min", 107}}},
        LineCase{SummaryLine::Load,
                 "1, 2, 3::",
                 {{"load_avg_1_min", 1}, {"load_avg_5_min", 2}, {"load_avg_15_min", 3}}},
        LineCase{SummaryLine::Tasks,
                 "Tasks:  69 total,   1 running,  68 sleeping,   0 stopped,   2 zombie",
                 {{"tasks_total", 69},
                  {"tasks_running", 1},
                  {"tasks_sleeping", 68},
                  {"tasks_stopped", 0},
                  {"tasks_zombie", 2}}},
        LineCase{SummaryLine::Tasks,
                 "Threads: 3 zombie, 7 total,",
                 {{"tasks_zombie", 3}, {"tasks_total", 7}}},
        LineCase{SummaryLine::Cpu,
                 "%Cpu(s):  1.0 us,  2.0 sy,  3.5 ni, 80.0 id,  4.0 wa,  5.0 hi,  0.5 si,  4.0 st ",
                 {{"cpu_us", 1},
                  {"cpu_sy", 2},
                  {"cpu_ni", 3.5},
                  {"cpu_id", 80},
                  {"cpu_wa", 4},
                  {"cpu_hi", 5},
                  {"cpu_si", 0.5},
                  {"cpu_st", 4}}},
        LineCase{SummaryLine::Cpu, "%Cpu(s):100.0 us,  0.0 sy", {{"cpu_us", 100}, {"cpu_sy", 0}}},
        LineCase{SummaryLine::Memory,
                 "MiB Mem :  24105.6 total,  23266.1 free,    567.1 used,    520.4 buff/cache     ",
                 {{"mem_total", 24105.6},
                  {"mem_free", 23266.1},
                  {"mem_used", 567.1},
                  {"mem_buff", 520.4}}},
        LineCase{
            SummaryLine::Swap,
            "MiB Swap:      2.5 total,      1.5 free,      1.0 used.  23538.5 avail Mem ",
            {{"swap_total", 2.5}, {"swap_free", 1.5}, {"swap_used", 1}, {"swap_avail", 23538.5}}},
        LineCase{
            SummaryLine::Swap,
            "KiB Swap: 0 total, 0 free, 5 used.123456789 avail Mem",
            {{"swap_total", 0}, {"swap_free", 0}, {"swap_used", 5}, {"swap_avail", 123456789}}}));

struct FailureCase {
    SummaryLine kind;
    const char* line;
    const char* unknownKind;
    const char* words;
};

class FailingLineTest : public testing::TestWithParam<FailureCase> {};

TEST_P(FailingLineTest, GivesNoFigureAtAll) {
    const Parsed parsed = Parse(GetParam().kind, GetParam().line);
    EXPECT_TRUE(parsed.figures.empty());
    EXPECT_TRUE(parsed.failed);
    EXPECT_EQ(parsed.unknownKind, GetParam().unknownKind);
    EXPECT_EQ(parsed.words, GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FailingLineTest,
    testing::Values(
        FailureCase{SummaryLine::Load, "top - 20:20:06 up, load average: 0.69, 0.22", "", ""},
        FailureCase{SummaryLine::Load, "top - 20:20:06 up, load average: 0.69, x, 1", "",
                    kNoNumber},
        FailureCase{SummaryLine::Load, "top", "", kNoNumber},
        FailureCase{SummaryLine::Load, ":", "", ""},
        FailureCase{SummaryLine::Tasks, "Tasks:", "", ""},
        FailureCase{SummaryLine::Tasks, "Tasks 69 total", "", ""},
        FailureCase{SummaryLine::Tasks, "Tasks: 69 total, 1 running, 95", "", ""},
        FailureCase{SummaryLine::Tasks, "Tasks: 69 total, x running", "", kNoNumber},
        FailureCase{SummaryLine::Tasks, "Tasks: 69 total, 1 dreaming, 2 odd", "dreaming", ""},
        FailureCase{SummaryLine::Tasks, "Tasks: 69 total, 1 runn", "runn", ""},
        FailureCase{SummaryLine::Tasks, "%Cpu(s): 1.0 us", "us", ""},
        FailureCase{SummaryLine::Cpu, "%Cpu(s): 1,0 us", "", ""},
        FailureCase{SummaryLine::Cpu, "%Cpu(s): 1.0 user", "user", ""},
        FailureCase{SummaryLine::Memory, "MiB Mem : 1.0 used. 2.0 avail Mem", "used.", ""},
        FailureCase{SummaryLine::Swap, "MiB Swap: 1.0 total, 1.0 used", "used", ""},
        FailureCase{SummaryLine::Swap, "MiB Swap: 1.0 total, 1.0 used.", "", ""},
        FailureCase{SummaryLine::Swap, "MiB Swap: 1.0 total, 1.0 used. - avail", "", kNoNumber}));

struct RowCase {
    const char* row;
    std::vector<double> figures;  // virt, res, shr, cpu, mem, time in ms; -1: none
    TimeFailure failure;
    const char* words;
};

class ProcessRowTest : public testing::TestWithParam<RowCase> {};

TEST_P(ProcessRowTest, GivesTheTokensByIndex) {
    ProcessValues values;
    const std::string words =
        test::Capture([&] {
            EXPECT_EQ(ParseProcessRow(GetParam().row, values), GetParam().failure);
        }).err;
    EXPECT_EQ(words, GetParam().words);
    ASSERT_EQ(values.size(), GetParam().figures.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double expected = GetParam().figures[i];
        const std::vector<double> list =
            expected < 0 ? std::vector<double>{} : std::vector<double>{expected};
        EXPECT_EQ(values[i], list) << kProcessFigures[i].suffix;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ProcessRowTest,
    testing::Values(
        RowCase{"10479 root      20   0  148124 120420  19348 R  50.0   0.5   0:00.75 cc1plus",
                {148124, 120420, 19348, 50, 0.5, 750},
                TimeFailure::None,
                ""},
        RowCase{"7 root rt 0 21.5g 1.2g 3m S 101.0 12.5 123:45.50 app",
                {21.5, 1.2, 3, 101, 12.5, 7425500},
                TimeFailure::None,
                ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5 6:07", {1, 2, 3, 4, 5, 367000}, TimeFailure::None, ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5", {-1, -1, -1, -1, -1, -1}, TimeFailure::None, ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5 607 app", {1, 2, 3, 4, 5, -1}, TimeFailure::Time, ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5 1:02:03 app", {1, 2, 3, 4, 5, -1}, TimeFailure::Time, ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5 : app", {1, 2, 3, 4, 5, -1}, TimeFailure::Time, ""},
        RowCase{"7 root 20 0 1 2 3 S 4 5 x:1 app",
                {1, 2, 3, 4, 5, -1},
                TimeFailure::Minutes,
                kNoNumber},
        RowCase{"7 root 20 0 1 2 3 S 4 5 1:x app",
                {1, 2, 3, 4, 5, -1},
                TimeFailure::Seconds,
                kNoNumber},
        RowCase{"7 root 20 0 x 2 3 S 4 5 0:01.00 app",
                {-1, 2, 3, 4, 5, 1000},
                TimeFailure::None,
                kNoNumber}));

}  // namespace
}  // namespace zarn
