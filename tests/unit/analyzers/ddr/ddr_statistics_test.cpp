#include "analyzers/ddr/ddr_statistics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The moment of second `index` of 12:00:00.
std::string Moment(std::size_t index) {
    const auto twoDigits = [](std::size_t value) {
        return std::to_string(100 + value % 100).substr(1);
    };
    return "2023010112" + twoDigits(index / 60) + twoDigits(index % 60) + "000";
}

DdrMasterInfo Analyzed(const std::vector<double>& values, const std::string& name = "cpu",
                       std::uint32_t bwHigh = 0) {
    DdrMasterInfo info;
    info.name = name;
    info.bwHigh = bwHigh;
    info.values = values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        info.timeStamps.push_back(Moment(i));
    }
    AnalyzeMaster(info);
    return info;
}

TEST(DdrStatistics, MeanAndBoundsOfASeries) {
    const DdrMasterInfo info = Analyzed({10.0, 30.0, 20.0});
    EXPECT_EQ(info.meanBw, 20.0);
    EXPECT_EQ(info.maxBw, 30.0);
    EXPECT_EQ(info.minBw, 10.0);
}

TEST(DdrStatistics, WithoutSamplesTheDefaultsStay) {
    const DdrMasterInfo info = Analyzed({}, "cpu", 20);
    EXPECT_EQ(info.meanBw, 0.0);
    EXPECT_EQ(info.maxBw, 0.0);
    EXPECT_EQ(info.minBw, 100.0);
    EXPECT_EQ(info.over, 0.0);
}

TEST(DdrStatistics, TheBoundsStartAtTheirDefaults) {
    const DdrMasterInfo info = Analyzed({-5.0, -7.0});
    EXPECT_EQ(info.maxBw, 0.0);
    EXPECT_EQ(info.minBw, -7.0);
    EXPECT_EQ(Analyzed({150.0}).minBw, 100.0);
}

struct Series {
    const char* name;
    std::vector<double> values;
    std::vector<double> peaks;
    std::vector<std::size_t> peakIndexes;
    std::vector<double> troughs;
    std::vector<std::size_t> troughIndexes;
};

TEST(DdrStatistics, PeaksAndTroughsOfEachKindOfSeries) {
    const Series rows[] = {
        {"constant", {20, 20, 20, 20}, {}, {}, {}, {}},
        {"a flat top is a peak at its last sample",
         {10, 20, 20, 10, 1, 1, 1, 1},
         {20},
         {2},
         {},
         {}},
        {"rising to the end", {10, 20, 30}, {}, {}, {}, {}},
        {"the first sample is no peak", {30, 10, 10, 10}, {}, {}, {}, {}},
        {"one peak, one trough", {10, 30, 5, 30}, {30}, {1}, {5}, {2}},
        {"a top inside the band is none", {20, 21, 20, 20}, {}, {}, {}, {}},
        {"a top on the edge of the band is one", {96, 110, 94}, {110}, {1}, {}, {}},
        // A product and a sum rounded once, in one instruction, would turn both round.
        {"on the edge by rounding", {68.226359, 78.998942, 68.226359}, {78.998942}, {1}, {}, {}},
        {"beside it by rounding", {56.130759, 64.993511, 56.130760}, {}, {}, {}, {}},
        {"a bottom on the edge of the band is none", {104, 90, 106}, {}, {}, {}, {}},
        {"a fall that ends above the band counts for the next low point",
         {50, 48, 50, 10, 10, 60},
         {50},
         {2},
         {10},
         {4}},
        {"a fall is used up by its trough", {50, 10, 12, 14, 60}, {}, {}, {10}, {1}},
        {"a rise below the band is forgotten", {10, 20, 10, 10, 60, 60, 60}, {}, {}, {10}, {3}},
        {"one sample", {10}, {}, {}, {}, {}},
    };
    for (const Series& row : rows) {
        const DdrMasterInfo info = Analyzed(row.values);
        EXPECT_EQ(info.peaks, row.peaks) << row.name;
        EXPECT_EQ(info.troughs, row.troughs) << row.name;
        std::vector<std::string> moments;
        for (const std::size_t index : row.peakIndexes) {
            moments.push_back(Moment(index));
        }
        EXPECT_EQ(info.peakTimeStamps, moments) << row.name;
        moments.clear();
        for (const std::size_t index : row.troughIndexes) {
            moments.push_back(Moment(index));
        }
        EXPECT_EQ(info.troughTimeStamps, moments) << row.name;
    }
}

// A series with peaks at the given moments.
DdrMasterInfo WithPeaksAt(const std::vector<std::string>& moments) {
    DdrMasterInfo info;
    for (const std::string& moment : moments) {
        info.values.insert(info.values.end(), {1.0, 50.0, 1.0});
        info.timeStamps.insert(info.timeStamps.end(), {Moment(0), moment, Moment(0)});
    }
    return info;
}

TEST(DdrStatistics, IntervalsAreWholeSecondsWithoutTheHour) {
    DdrMasterInfo info = WithPeaksAt(
        {"20230101125958999", "20230101125959000", "20230101130001500", "20230101130301000"});
    AnalyzeMaster(info);
    EXPECT_THAT(info.peakIntervals, ElementsAre(1, 1 - 3599, 180));
}

TEST(DdrStatistics, AMomentWithoutDigitsGivesNoInterval) {
    DdrMasterInfo info = WithPeaksAt({"2023010112xx", "20230101120001000", "20230101120003000",
                                      "2023010112", "20230101120004000"});
    const test::Captured captured = test::Capture([&] { AnalyzeMaster(info); });
    EXPECT_THAT(info.peakIntervals, ElementsAre(2));
    EXPECT_EQ(info.peaks.size(), 5U);
    const std::string notRead =
        "[Utils] Invalid argument\n"
        "[zarn_utils] Failed to convert timestamp to seconds!\n";
    EXPECT_EQ(captured.err,
              notRead + "[DdrAnalyzer] Failed to load the preTime of peakInterval!\n" + notRead +
                  "[DdrAnalyzer] Failed to load the curTime of peakInterval!\n" + notRead +
                  "[DdrAnalyzer] Failed to load the preTime of peakInterval!\n");
}

TEST(DdrStatistics, AMomentWithoutItsHourThrows) {
    DdrMasterInfo info = WithPeaksAt({"202301011", "20230101120001000"});
    EXPECT_THROW(AnalyzeMaster(info), std::out_of_range);
}

TEST(DdrStatistics, TheExcessIsAPercentageOfTheUpperBound) {
    EXPECT_EQ(Analyzed({100.0}, "cpu", 51).over, 0.0);
    EXPECT_EQ(Analyzed({50.0}, "cpu", 0).over, 0.0);
    EXPECT_EQ(Analyzed({50.0}, "total", 20).over, 0.0);
    EXPECT_NEAR(Analyzed({50.0}, "cpu", 20).over, 27.5, 1e-5);
    EXPECT_EQ(Analyzed({20.0}, "cpu", 20).over, 0.0);
}

// Single precision up to the quotient, then double: the sixth decimal tells the difference.
TEST(DdrStatistics, TheExcessIsNarrowedUpToTheQuotientOnly) {
    const float mean = static_cast<float>(37.3 * 51.0 / 100.0);
    const float quotient = (mean - 7.0F) / 7.0F;
    const double over = Analyzed({37.3}, "cpu", 7).over;
    EXPECT_EQ(over, static_cast<double>(quotient) * 100.0);
    EXPECT_NE(over, (37.3 * 51.0 / 100.0 - 7.0) / 7.0 * 100.0);
    EXPECT_NE(over, static_cast<double>(quotient * 100.0F));
}

TEST(DdrStatistics, AHugeBoundLosesDigits) {
    // 4294967295 becomes 4294967296 in single precision; the mean never reaches it.
    EXPECT_EQ(Analyzed({1e6}, "cpu", 4294967295U).over, 0.0);
    EXPECT_GT(Analyzed({1e12}, "cpu", 4294967295U).over, 0.0);
}

TEST(DdrStatistics, ASecondAnalysisAddsToTheFirst) {
    DdrMasterInfo info = Analyzed({10, 30, 10});
    AnalyzeMaster(info);
    EXPECT_THAT(info.peaks, ElementsAre(30.0, 30.0));
    EXPECT_THAT(info.peakIntervals, ElementsAre(0));
    EXPECT_THAT(info.troughs, IsEmpty());
}

}  // namespace
}  // namespace zarn
