#include "analyzers/mem/mem_extremes.h"

#include <gmock/gmock.h>

#include <random>
#include <string>

#include "tests/support/captured_streams.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MemFrames FramesOf(const std::vector<std::string>& values) {
    MemFrames frames;
    for (const std::string& value : values) {
        frames.Add(0, value);
    }
    return frames;
}

std::vector<std::size_t> Peaks(const std::vector<std::string>& values, float threshold) {
    std::vector<std::size_t> indexes;
    EXPECT_TRUE(LocalMaxFrames(FramesOf(values), threshold, indexes));
    return indexes;
}

std::vector<std::size_t> Troughs(const std::vector<std::string>& values, float threshold) {
    std::vector<std::size_t> indexes;
    EXPECT_TRUE(LocalMinFrames(FramesOf(values), threshold, indexes));
    return indexes;
}

// What a failure of both prints, with the words of the first and of the second.
std::string Failure(const std::vector<std::string>& values) {
    std::vector<std::size_t> indexes;
    return Capture([&] {
               EXPECT_FALSE(LocalMaxFrames(FramesOf(values), 0.1F, indexes));
               EXPECT_FALSE(LocalMinFrames(FramesOf(values), 0.1F, indexes));
           })
        .err;
}

constexpr const char* kNoMax = "[MemAnalyzer] Invalid inputs when calculate local max frame.\n";
constexpr const char* kNoMin = "[MemAnalyzer] Invalid inputs when calculate local min frame.\n";

TEST(MemFramesTest, KeepsTextsAsTheyAre) {
    MemFrames frames;
    frames.Add(3, "12");
    frames.Add(4, "");
    frames.Add(4, std::string("x\0y", 3));
    EXPECT_EQ(frames.Size(), 3U);
    EXPECT_EQ(frames.Moment(1), 4U);
    EXPECT_EQ(frames.Value(0), "12");
    EXPECT_EQ(frames.Value(1), "");
    EXPECT_EQ(frames.Value(2), std::string_view("x\0y", 3));
}

TEST(LocalFrames, ASingleFrameIsBothWithoutATest) {
    EXPECT_THAT(Peaks({"0"}, 9.0F), ElementsAre(0));
    EXPECT_THAT(Troughs({"no number"}, 9.0F), ElementsAre(0));
}

TEST(LocalFrames, TheEndsAndTheInnerFramesAreTested) {
    EXPECT_THAT(Peaks({"30", "10", "40", "10", "30"}, 0.1F), ElementsAre(0, 2, 4));
    EXPECT_THAT(Troughs({"10", "30", "5", "30", "10"}, 0.1F), ElementsAre(0, 2, 4));
    EXPECT_THAT(Peaks({"30", "10"}, 0.1F), ElementsAre(0));
    EXPECT_THAT(Troughs({"30", "10"}, 0.1F), ElementsAre(1));
}

TEST(LocalFrames, EqualNeighboursAreNeither) {
    EXPECT_THAT(Peaks({"50", "50"}, 0.1F), IsEmpty());
    EXPECT_THAT(Peaks({"1", "50", "50", "1"}, 0.1F), IsEmpty());
    EXPECT_THAT(Troughs({"50", "1", "1", "50"}, 0.1F), IsEmpty());
    EXPECT_THAT(Troughs({"1", "1", "50"}, 0.1F), IsEmpty());
}

// The mean is 100: a peak lies above 110, a trough below 90.
TEST(LocalFrames, TheLimitIsStrict) {
    EXPECT_THAT(Peaks({"95", "110", "95", "100", "100"}, 0.1F), IsEmpty());
    EXPECT_THAT(Peaks({"95", "111", "95", "99", "100"}, 0.1F), ElementsAre(1));
    EXPECT_THAT(Troughs({"105", "90", "105", "100", "100"}, 0.1F), IsEmpty());
    EXPECT_THAT(Troughs({"105", "89", "105", "101", "100"}, 0.1F), ElementsAre(1));
}

// The mean is 101.25, nine tenths of it are 91.125: ten times 91 lies below 911, but 91 does not
// lie below 91.
TEST(LocalFrames, TheFactorMakesTheLimitFiner) {
    EXPECT_THAT(Troughs({"105", "91", "105", "104"}, 0.1F), ElementsAre(1));
    EXPECT_THAT(Troughs({"105", "92", "105", "103"}, 0.1F), IsEmpty());
}

// Beyond 2^24 single precision knows even numbers only: the mean of the three is 16777217, but
// counts as 16777218, which the greatest of them does not exceed.
TEST(LocalFrames, TheMeanIsSinglePrecision) {
    MemSummary summary;
    ASSERT_TRUE(SummarizeMemFrames(FramesOf({"16777217", "16777217"}), summary));
    EXPECT_EQ(summary.mean, 16777216.0F);
    EXPECT_THAT(Peaks({"16777217", "16777216", "16777218"}, 1e-9F), IsEmpty());
    EXPECT_THAT(Peaks({"16777217", "16777216", "16777219"}, 1e-9F), ElementsAre(2));
}

TEST(LocalFrames, NothingIsBeyondAThresholdAtOrAboveOneButPeaks) {
    EXPECT_THAT(Troughs({"100", "0", "100"}, 1.0F), IsEmpty());
    EXPECT_THAT(Troughs({"100", "0", "100"}, 0.9F), ElementsAre(1));
    EXPECT_THAT(Peaks({"1", "1000", "1", "1", "1"}, 3.0F), ElementsAre(1));
}

TEST(LocalFrames, LimitsBeyondAllIntegersLetNothingPass) {
    for (const float threshold : {1e30F, std::numeric_limits<float>::infinity()}) {
        EXPECT_THAT(Peaks({"1", "2147483647", "1"}, threshold), IsEmpty());
        EXPECT_THAT(Troughs({"1", "0", "1"}, threshold), IsEmpty());
        EXPECT_THAT(Peaks({"0", "0", "0"}, threshold), IsEmpty());
    }
}

TEST(LocalFrames, ValuesThatAreNotAllDigitsAreRefused) {
    const std::string both = std::string(kNoMax) + kNoMin;
    EXPECT_EQ(Failure({}), both);
    for (const char* value : {"", "K", "-1", "+1", " 1", "1.5", "12K", "1e6", "\xff"}) {
        EXPECT_EQ(Failure({"1", value}), both) << value;
        EXPECT_EQ(Failure({value, "99999999999"}), both) << value;  // tested before any is read
    }
}

// The test of digits lets line ends pass.
TEST(LocalFrames, ValuesThatAreNoIntegersAreRefused) {
    const std::string none = "[MemAnalyzer]: mem key information doesn't contain an integer. \n";
    const std::string range = "[MemAnalyzer]: mem key information out of int32 range. \n";
    EXPECT_EQ(Failure({"1", "\n"}), none + kNoMax + none + kNoMin);
    EXPECT_EQ(Failure({"1", "2147483648"}), range + kNoMax + range + kNoMin);
    EXPECT_EQ(Failure({"1", std::string(40, '9')}), range + kNoMax + range + kNoMin);
    EXPECT_THAT(Peaks({"1", "7\n9", "1"}, 0.1F), ElementsAre(1));
    EXPECT_THAT(Peaks({"1", "\r\n7", "1"}, 0.1F), ElementsAre(1));
    EXPECT_THAT(Peaks({"1", "2147483647", "1"}, 0.1F), ElementsAre(1));
}

TEST(SummarizeMemFramesTest, GivesTheExtremesAndTheMean) {
    MemSummary summary;
    ASSERT_TRUE(SummarizeMemFrames(FramesOf({"5", "-3", "12abc"}), summary));
    EXPECT_EQ(summary.max, 12);
    EXPECT_EQ(summary.min, -3);
    EXPECT_FLOAT_EQ(summary.mean, 14.0F / 3.0F);
    EXPECT_EQ(Capture([&] { EXPECT_FALSE(SummarizeMemFrames(FramesOf({"K"}), summary)); }).err,
              "[MemAnalyzer]: mem key information doesn't contain an integer. \n");
}

// The rules once more, as they are written down, over random values.
std::vector<std::size_t> PeaksByTheBook(const std::vector<int>& x, float threshold) {
    float sum = 0.0F;
    for (const int value : x) {
        sum += static_cast<float>(value);
    }
    const double mean = sum / static_cast<float>(x.size());
    const auto limit = static_cast<int>((threshold + 1.0) * mean * 10);
    std::vector<std::size_t> peaks;
    const std::size_t n = x.size();
    if (10 * x[0] > limit && 10 * x[0] > 10 * x[1]) {
        peaks.push_back(0);
    }
    for (std::size_t i = 1; i + 1 < n; ++i) {
        if (10 * x[i] > 10 * x[i + 1] && 10 * x[i] > limit && 10 * x[i] > 10 * x[i - 1]) {
            peaks.push_back(i);
        }
    }
    if (10 * x[n - 1] > limit && 10 * x[n - 1] > 10 * x[n - 2]) {
        peaks.push_back(n - 1);
    }
    return peaks;
}

TEST(LocalFrames, RandomFramesFollowTheRules) {
    std::mt19937_64 random(20240103);
    for (int round = 0; round < 2000; ++round) {
        std::vector<int> values;
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < 2 + random() % 9; ++i) {
            values.push_back(static_cast<int>(random() % 40));
            texts.push_back(std::to_string(values.back()));
        }
        const float threshold = static_cast<float>(1 + random() % 20) / 16.0F;
        if (texts.size() > 1) {
            EXPECT_EQ(Peaks(texts, threshold), PeaksByTheBook(values, threshold));
        }
    }
}

}  // namespace
}  // namespace zarn::test
