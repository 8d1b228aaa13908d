#include "foundation/statistics.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

using Indexes = std::set<std::size_t>;

struct PeakCase {
    std::vector<double> values;
    Indexes peaks;
};

class FindPeaksTest : public testing::TestWithParam<PeakCase> {};

TEST_P(FindPeaksTest, FindsTheMidpointsOfTops) {
    Indexes peaks;
    FindPeaks(GetParam().values, 0.1, peaks, 1.0);
    EXPECT_EQ(peaks, GetParam().peaks);
}

TEST_P(FindPeaksTest, TroughsAreTheMirror) {
    std::vector<double> mirrored;
    for (const double value : GetParam().values) {
        mirrored.push_back(-value);
    }
    Indexes troughs;
    FindTroughs(mirrored, -0.1, troughs, 1.0);
    EXPECT_EQ(troughs, GetParam().peaks);
}

INSTANTIATE_TEST_SUITE_P(Cases, FindPeaksTest,
                         testing::Values(PeakCase{{1, 3, 3, 3, 1}, {2}}, PeakCase{{3, 2, 1}, {}},
                                         PeakCase{{1, 2, 3}, {}}, PeakCase{{1, 3, 2, 4}, {1}},
                                         PeakCase{{}, {}}, PeakCase{{5}, {}},
                                         PeakCase{{2, 2, 2, 2}, {}},
                                         PeakCase{{1, 3, 3, 1, 2, 1}, {1, 4}}));

TEST(FindPeaks, TheReferenceTimesTheRatioIsABoundThatDoesNotCount) {
    Indexes peaks;
    FindPeaks({1, 4, 1, 5, 1}, 2.0, peaks, 2.0);
    EXPECT_EQ(peaks, Indexes{3});
}

TEST(CompareByValueDescending, OrdersEqualValuesByTheirNames) {
    EXPECT_TRUE(CompareByValueDescending({"b", 2.0}, {"a", 1.0}));
    EXPECT_FALSE(CompareByValueDescending({"a", 1.0}, {"b", 2.0}));
    EXPECT_TRUE(CompareByValueDescending({"Z", 1.0}, {"a", 1.0}));
    EXPECT_FALSE(CompareByValueDescending({"a", 1.0}, {"Z", 1.0}));
    EXPECT_FALSE(CompareByValueDescending({"a", 1.0}, {"a", 1.0}));
}

}  // namespace
}  // namespace zarn
