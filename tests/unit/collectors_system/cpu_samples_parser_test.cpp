#include "collectors/system/cpu_samples_parser.h"

#include <gmock/gmock.h>

#include "foundation/zarn_utils.h"
#include "tests/unit/support/captured_streams.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

TEST(CutUsageSamples, AnEmptyTextIsOneBatchOfItsTime) {
    const CpuSamples samples = CutUsageSamples("", kTimes);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].time, TimeOf(0));
    EXPECT_THAT(samples[0].lines, IsEmpty());
}

TEST(CutUsageSamples, EachTopButTheVeryFirstLineOpensABatch) {
    const CpuSamples samples = CutUsageSamples(
        "top - 1\nTasks: 3\n\n   \n  12 root a\n\ntop - 2\n top x\ntopless\n", kTimes);
    ASSERT_EQ(samples.size(), 3U);
    EXPECT_THAT(samples[0].lines, ElementsAre("top - 1", "Tasks: 3", "  12 root a"));
    EXPECT_THAT(samples[1].lines, ElementsAre("top - 2"));
    EXPECT_THAT(samples[2].lines, ElementsAre(" top x", "topless"));
    EXPECT_EQ(samples[2].time, TimeOf(2));
}

TEST(CutUsageSamples, ATopOnALaterLineClosesAnEmptyFirstBatch) {
    const CpuSamples samples = CutUsageSamples("\ntop - 1\n", kTimes);
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_THAT(samples[0].lines, IsEmpty());
    EXPECT_THAT(samples[1].lines, ElementsAre("top - 1"));
}

TEST(CutUsageSamples, HostileTextStaysInPieces) {
    using namespace std::string_literals;
    const std::string longLine(1200, 'x');
    const std::string text = "top\r\n\0\x01\xff\n"s + longLine + "\ntop - torn in the midd";
    const CpuSamples samples = CutUsageSamples(text, kTimes);
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_THAT(samples[0].lines, ElementsAre("top\r", "\0\x01\xff"s, longLine.substr(0, 511),
                                              longLine.substr(0, 511), longLine.substr(0, 178)));
    EXPECT_THAT(samples[1].lines, ElementsAre("top - torn in the midd"));
}

TEST(CutGlobalSamples, DropsRowsAndTheirHeading) {
    const CpuSamples usage = CutUsageSamples(
        "top - 1\nTasks: 1\n  PID USER\n  12 root\n 12a\n%Cpu(s): 1\nPIDX\n4\r\ntop - 2\n", kTimes);
    const CpuSamples samples = CutGlobalSamples(usage, kTimes);
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[1].time, TimeOf(1));
    EXPECT_THAT(samples[0].lines, ElementsAre("top - 1", "Tasks: 1", " 12a", "%Cpu(s): 1", "PIDX"));
    EXPECT_THAT(samples[1].lines, ElementsAre("top - 2"));
}

TEST(CutCoreSamples, EachPieceBetweenPercentSignsIsALine) {
    const CpuSamples samples = CutCoreSamples(
        "top - 1\nTasks: 1\n%Cpu0  : 1.0 us   %Cpu1  : 2.0 us \n\n\ntop - 2\n%%Cpu0 :\n%\n",
        kTimes);
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_THAT(samples[0].lines,
                ElementsAre("top - 1", "Tasks: 1", "Cpu0  : 1.0 us   ", "Cpu1  : 2.0 us "));
    EXPECT_THAT(samples[1].lines, ElementsAre("top - 2", "Cpu0 :"));
}

TEST(CutThreadSamples, KeepsTheFirstTenRowsOfEachBatch) {
    std::string text = "top - 1\nThreads: 12\n";
    for (int i = 1; i <= 12; ++i) {
        text += "  " + std::to_string(i) + " root\n";
    }
    const CpuSamples samples = CutThreadSamples(text + "top - 2\n PID\n 5 root\n", kTimes);
    ASSERT_EQ(samples.size(), 2U);
    ASSERT_EQ(samples[0].lines.size(), 10U);
    EXPECT_EQ(samples[0].lines.back(), "  10 root");
    EXPECT_THAT(samples[1].lines, ElementsAre(" 5 root"));
}

TEST(SelectSamples, KeepsABatchWithoutAnyMatch) {
    const CpuSamples usage = CutUsageSamples(
        "top - a\n 1 x node\n 2 x node2\n 3 node x\n 4 x  node  \ntop - 2\n 5 x other\n", kTimes);
    const CpuSamples samples = SelectSamples(usage, {"node", "absent"});
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_THAT(samples[0].lines, ElementsAre(" 1 x node", " 4 x  node  "));
    EXPECT_EQ(samples[1].time, TimeOf(1));
    EXPECT_THAT(samples[1].lines, IsEmpty());
    EXPECT_THAT(SelectSamples(usage, {})[0].lines, IsEmpty());
}

TEST(PsSamples, APassAndAnEmptyLineInItEndABatch) {
    const std::deque<std::string> passes = {"a 1 node\nb 2 x\n", "", "c 3 node", "d 4\n\ne 5 x\n"};
    EXPECT_THAT(CutTop10Samples(passes),
                ElementsAre(ElementsAre("a 1 node", "b 2 x"), IsEmpty(), ElementsAre("c 3 node"),
                            ElementsAre("d 4"), ElementsAre("e 5 x")));
    EXPECT_THAT(
        SelectPsSamples(passes, {"x", ""}),
        ElementsAre(ElementsAre("b 2 x"), IsEmpty(), IsEmpty(), IsEmpty(), ElementsAre("e 5 x")));
}

TEST(PsSamples, TenRowsOfAPassAreKept) {
    std::deque<std::string> passes(1);
    for (int i = 0; i < 11; ++i) {
        passes[0] += "root " + std::to_string(i) + "\n";
    }
    const auto samples = CutTop10Samples(passes);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].size(), 10U);
    EXPECT_EQ(samples[0].back(), "root 9");
}

TEST(PidOfPsRow, IsTheSecondToken) {
    EXPECT_EQ(PidOfPsRow("root         1  0.2 x"), "1");
    EXPECT_EQ(PidOfPsRow("  root 17"), "17");
    EXPECT_EQ(PidOfPsRow("root  "), "");
    EXPECT_EQ(PidOfPsRow(""), "");
}

TEST(FormatRawFile, IsTimeLinesAndAnEmptyLine) {
    EXPECT_EQ(FormatRawFile({}), "");
    EXPECT_EQ(FormatRawFile({{"1", {"a", " b"}}, {"2", {}}, {"", {""}}}),
              "1\na\n b\n\n2\n\n\n\n\n");
}

}  // namespace
}  // namespace zarn
