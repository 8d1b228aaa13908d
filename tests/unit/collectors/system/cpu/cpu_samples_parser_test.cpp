#include "collectors/system/cpu/cpu_samples_parser.h"

#include <gmock/gmock.h>

#include "foundation/time.h"
#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

// Times are compared with one another, since their text depends on the time zone.
constexpr const char* kStart = "20240118120000250";
const CpuSampleTimes kTimes(kStart, 0.5);

std::string TimeOf(std::size_t index, double interval = 0.5, const std::string& start = kStart) {
    std::string time;
    EXPECT_TRUE(CpuSampleTimes(start, interval).At(index, time));
    return time;
}

std::uint64_t DistanceMilliseconds(std::size_t index, double interval) {
    std::uint64_t first = 0;
    std::uint64_t later = 0;
    EXPECT_TRUE(TimeStringToTimestamp(TimeOf(0, interval), first));
    EXPECT_TRUE(TimeStringToTimestamp(TimeOf(index, interval), later));
    return later - first;
}

TEST(CpuSampleTimes, TheOffsetIsCutToWholeMilliseconds) {
    EXPECT_EQ(DistanceMilliseconds(0, 5.0), 0U);
    EXPECT_EQ(DistanceMilliseconds(1, 5.0), 5000U);
    EXPECT_EQ(DistanceMilliseconds(599, 1.0), 599000U);
    EXPECT_EQ(DistanceMilliseconds(1, 0.0019), 1U);
    EXPECT_EQ(DistanceMilliseconds(3, 0.3333), 999U);
    EXPECT_EQ(DistanceMilliseconds(3, 0.1), 300U);  // 0.1 * 3 is a little more than 0.3
    EXPECT_EQ(DistanceMilliseconds(7, 0.0), 0U);
}

struct BadTime {
    const char* start;
    double interval;
    const char* line;
};

class CpuSampleTimesFailure : public testing::TestWithParam<BadTime> {};

TEST_P(CpuSampleTimesFailure, PrintsTheUtilitysLine) {
    std::string time = "untouched";
    bool result = true;
    const auto captured = test::Capture(
        [&] { result = CpuSampleTimes(GetParam().start, GetParam().interval).At(2, time); });
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, std::string(GetParam().line) + "\n");
    EXPECT_EQ(captured.out, "");
}

constexpr const char* kBadLength = "[zarn_utils] The length of TimeStr is incorrect!";
constexpr const char* kTooLarge =
    "[zarn_utils] Error: The timestamp is too large to convert to a string!";

INSTANTIATE_TEST_SUITE_P(Cases, CpuSampleTimesFailure,
                         testing::Values(BadTime{"", 1.0, kBadLength},
                                         BadTime{"2024011812000025", 1.0, kBadLength},
                                         BadTime{kStart, 1e300, kTooLarge},
                                         BadTime{kStart, -1e300, kTooLarge},
                                         BadTime{kStart, 1e9, kTooLarge}));

template <typename Cutter>
void Cut(Cutter& cutter, const std::string& output) {
    cutter.Feed(output);
    cutter.Finish();
}

struct UsageLogs {
    std::string usage;
    std::string global;
    std::string selected;
};

UsageLogs CutUsage(const std::string& output, const std::vector<std::string>& process = {},
                   std::size_t pieceSize = 1000000) {
    CpuUsageCutter cutter(kTimes, true, true, process);
    for (std::size_t i = 0; i < output.size(); i += pieceSize) {
        cutter.Feed(output.substr(i, pieceSize));
    }
    cutter.Finish();
    return {cutter.usage.Text(), cutter.global.Text(), cutter.selected.Text()};
}

std::string CutCores(const std::string& output) {
    CpuCoreCutter cutter(kTimes);
    Cut(cutter, output);
    return cutter.cores.Text();
}

std::string CutThreads(const std::string& output) {
    CpuThreadCutter cutter(kTimes);
    Cut(cutter, output);
    return cutter.threads.Text();
}

TEST(CpuLog, ABatchIsItsTimeAndLines) {
    CpuLog log;
    EXPECT_EQ(log.Batch(0), "");
    log.StartBatch("1");
    log.Add("a");
    log.Add(" b");
    log.StartBatch("2");
    log.StartBatch("");
    log.Add("");
    log.Close();
    EXPECT_EQ(log.Text(), "1\na\n b\n\n2\n\n\n\n\n");
    ASSERT_EQ(log.Size(), 3U);
    EXPECT_EQ(log.Batch(0), "1\na\n b\n");
    EXPECT_EQ(log.Batch(1), "2\n");
    EXPECT_EQ(log.Batch(2), "\n\n");
    EXPECT_EQ(log.Batch(3), "");
}

TEST(CpuUsageCutter, AnEmptyOutputIsOneBatchOfItsTime) {
    const UsageLogs logs = CutUsage("");
    EXPECT_EQ(logs.usage, TimeOf(0) + "\n\n");
    EXPECT_EQ(logs.global, TimeOf(0) + "\n\n");
    EXPECT_EQ(logs.selected, TimeOf(0) + "\n\n");
}

TEST(CpuUsageCutter, EachTopButTheVeryFirstLineOpensABatch) {
    EXPECT_EQ(CutUsage("top - 1\nTasks: 3\n\n   \n  12 root a\n\ntop - 2\n top x\ntopless\n").usage,
              TimeOf(0) + "\ntop - 1\nTasks: 3\n  12 root a\n\n" + TimeOf(1) + "\ntop - 2\n\n" +
                  TimeOf(2) + "\n top x\ntopless\n\n");
}

TEST(CpuUsageCutter, ATopOnALaterLineClosesAnEmptyFirstBatch) {
    EXPECT_EQ(CutUsage("\ntop - 1\n").usage, TimeOf(0) + "\n\n" + TimeOf(1) + "\ntop - 1\n\n");
}

TEST(CpuUsageCutter, HostileOutputStaysInPieces) {
    const std::string longLine(1200, 'x');
    EXPECT_EQ(CutUsage("top\r\n\0\x01\xff\n"s + longLine + "\ntop - torn in the midd").usage,
              TimeOf(0) + "\ntop\r\n\0\x01\xff\n"s + longLine.substr(0, 511) + "\n" +
                  longLine.substr(0, 511) + "\n" + longLine.substr(0, 178) + "\n\n" + TimeOf(1) +
                  "\ntop - torn in the midd\n\n");
}

TEST(CpuUsageCutter, TheLogsDoNotDependOnWherePiecesEnd) {
    const std::string output = "top - a\nTasks: 1\n\n 12 x node\n" + std::string(700, ' ') +
                               "x node\n\ntop - b\n 13 x other\n 14 x node";
    const UsageLogs whole = CutUsage(output, {"node"});
    for (const std::size_t pieceSize : {1U, 2U, 3U, 5U, 100U, 511U, 512U}) {
        const UsageLogs logs = CutUsage(output, {"node"}, pieceSize);
        EXPECT_EQ(logs.usage, whole.usage) << pieceSize;
        EXPECT_EQ(logs.global, whole.global) << pieceSize;
        EXPECT_EQ(logs.selected, whole.selected) << pieceSize;
    }
}

TEST(CpuUsageCutter, TheGlobalLogDropsRowsAndTheirHeading) {
    EXPECT_EQ(CutUsage("top - 1\nTasks: 1\n  PID USER\n  12 root\n 12a\n%Cpu(s): 1\nPIDX\n4\r\n"
                       "top - 2\n")
                  .global,
              TimeOf(0) + "\ntop - 1\nTasks: 1\n 12a\n%Cpu(s): 1\nPIDX\n\n" + TimeOf(1) +
                  "\ntop - 2\n\n");
}

TEST(CpuUsageCutter, ASelectedBatchWithoutAnyMatchStays) {
    const std::string output =
        "top - a\n 1 x node\n 2 x node2\n 3 node x\n 4 x  node  \ntop - 2\n 5 x other\n";
    EXPECT_EQ(CutUsage(output, {"node", "absent", ""}).selected,
              TimeOf(0) + "\n 1 x node\n 4 x  node  \n\n" + TimeOf(1) + "\n\n");
    EXPECT_EQ(CutUsage(output, {}).selected, TimeOf(0) + "\n\n" + TimeOf(1) + "\n\n");
}

TEST(CpuUsageCutter, MakesOnlyTheLogsAskedFor) {
    CpuUsageCutter cutter(kTimes, false, false, {"node"});
    Cut(cutter, "top - a\n 1 x node\n");
    EXPECT_EQ(cutter.usage.Size(), 1U);
    EXPECT_EQ(cutter.global.Size() + cutter.selected.Size(), 0U);
    EXPECT_EQ(cutter.global.Text() + cutter.selected.Text(), "");
}

TEST(CpuUsageCutter, WithoutATimeTheTimeLinesAreEmpty) {
    std::string usage;
    std::string global;
    const auto captured = test::Capture([&] {
        CpuUsageCutter cutter(CpuSampleTimes("", 1.0), true, false, {});
        Cut(cutter, "top - a\n 1 x\n");
        usage = cutter.usage.Text();
        global = cutter.global.Text();
    });
    EXPECT_EQ(usage, "\ntop - a\n 1 x\n\n");
    EXPECT_EQ(global, "\n\ntop - a\n\n");  // the empty time line has no token, so it is kept too
    EXPECT_EQ(captured.err, std::string(kBadLength) + "\n" + kBadLength + "\n");
}

TEST(CpuCoreCutter, EachPieceBetweenPercentSignsIsALine) {
    EXPECT_EQ(CutCores("top - 1\nTasks: 1\n%Cpu0  : 1.0 us   %Cpu1  : 2.0 us \n\n\ntop - 2\n"
                       "%%Cpu0 :\n%\n"),
              TimeOf(0) + "\ntop - 1\nTasks: 1\nCpu0  : 1.0 us   \nCpu1  : 2.0 us \n\n" +
                  TimeOf(1) + "\ntop - 2\nCpu0 :\n\n");
}

TEST(CpuThreadCutter, KeepsTheFirstTenRowsOfEachBatch) {
    std::string output = "top - 1\nThreads: 12\n";
    std::string kept;
    for (int i = 1; i <= 12; ++i) {
        const std::string row = "  " + std::to_string(i) + " root\n";
        output += row;
        kept += i <= 10 ? row : "";
    }
    EXPECT_EQ(CutThreads(output + "top - 2\n PID\n 5 root\n"),
              TimeOf(0) + "\n" + kept + "\n" + TimeOf(1) + "\n 5 root\n\n");
}

TEST(CpuPsCutter, APassAndAnEmptyLineInItEndABatch) {
    CpuPsCutter cutter({"x", ""});
    for (const char* pass : {"a 1 node\nb 2 x\n", "", "c 3 node", "d 4\n\ne 5 x\n"}) {
        cutter.TakePass(pass);
    }
    EXPECT_THAT(cutter.top10,
                ElementsAre(ElementsAre("a 1 node", "b 2 x"), IsEmpty(), ElementsAre("c 3 node"),
                            ElementsAre("d 4"), ElementsAre("e 5 x")));
    EXPECT_THAT(cutter.selected, ElementsAre(ElementsAre("b 2 x"), IsEmpty(), IsEmpty(), IsEmpty(),
                                             ElementsAre("e 5 x")));
}

TEST(CpuPsCutter, TenRowsOfAPassAreKept) {
    std::string pass;
    for (int i = 0; i < 11; ++i) {
        pass += "root " + std::to_string(i) + "\n";
    }
    CpuPsCutter cutter({});
    cutter.TakePass(pass);
    ASSERT_EQ(cutter.top10.size(), 1U);
    EXPECT_EQ(cutter.top10[0].size(), 10U);
    EXPECT_EQ(cutter.top10[0].back(), "root 9");
}

TEST(PidOfPsRow, IsTheSecondToken) {
    EXPECT_EQ(PidOfPsRow("root         1  0.2 x"), "1");
    EXPECT_EQ(PidOfPsRow("  root 17"), "17");
    EXPECT_EQ(PidOfPsRow("root  "), "");
    EXPECT_EQ(PidOfPsRow(""), "");
}

}  // namespace
}  // namespace zarn
