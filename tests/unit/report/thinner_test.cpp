#include "report/thinner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <vector>

namespace zarn::report {
namespace {

using Values = std::vector<std::optional<double>>;

// Samples of some columns, drawn at random, one in ten without a value.
std::vector<Values> Drawn(std::size_t columns, std::size_t samples, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-100.0, 100.0);
    std::vector<Values> drawn(samples);
    for (Values& sample : drawn) {
        for (std::size_t i = 0; i < columns; ++i) {
            sample.push_back(random() % 10 == 0 ? std::nullopt : std::optional(value(random)));
        }
    }
    return drawn;
}

Thinner ThinnerOf(const std::vector<Values>& samples, std::size_t rows) {
    Thinner thinner(samples.front().size(), rows);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        thinner.Add(static_cast<Moment>(i), samples[i], i + 1);
    }
    return thinner;
}

TEST(ThinnerTest, KeepsFewSamplesAsTheyAre) {
    const auto samples = Drawn(2, 10, 1);
    Thinner thinner = ThinnerOf(samples, 10);
    const auto rows = thinner.Rows();
    ASSERT_EQ(rows.size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(rows[i].moment, static_cast<Moment>(i));
        EXPECT_EQ(rows[i].line, i + 1);
        EXPECT_EQ(rows[i].values, samples[i]);
    }
}

// The extremes of all samples whose index begins with the same bits as one of a bucket: found apart
// from how the thinner goes about it.
void ExpectExtremesStay(const std::vector<Values>& samples, std::size_t most) {
    Thinner thinner = ThinnerOf(samples, most);
    const auto rows = thinner.Rows();
    EXPECT_LE(rows.size(), most);
    EXPECT_EQ(thinner.Taken(), samples.size());
    const std::size_t columns = samples.front().size();
    const std::uint64_t bucket = thinner.BucketSize();
    // A bucket keeps at most three rows for each column, and its size is a power of two.
    EXPECT_LE(bucket, 2 * (samples.size() * 3 * columns / most + 1));
    for (std::size_t begin = 0; begin < samples.size(); begin += bucket) {
        const std::size_t end = std::min<std::size_t>(begin + bucket, samples.size());
        for (std::size_t column = 0; column < columns; ++column) {
            std::vector<double> all;
            std::vector<double> kept;
            std::uint64_t count = 0;
            double sum = 0.0;
            for (std::size_t i = begin; i < end; ++i) {
                if (samples[i][column]) {
                    all.push_back(*samples[i][column]);
                }
            }
            for (const auto& row : rows) {
                if (row.index >= begin && row.index < end) {
                    count += row.measured[column].count;
                    sum += row.measured[column].sum;
                }
                if (row.index >= begin && row.index < end && row.values[column]) {
                    kept.push_back(*row.values[column]);
                }
            }
            ASSERT_EQ(all.empty(), kept.empty());
            EXPECT_EQ(count, all.size());
            EXPECT_NEAR(sum, std::accumulate(all.begin(), all.end(), 0.0), 1e-6);
            if (!all.empty()) {
                EXPECT_EQ(*std::min_element(all.begin(), all.end()),
                          *std::min_element(kept.begin(), kept.end()));
                EXPECT_EQ(*std::max_element(all.begin(), all.end()),
                          *std::max_element(kept.begin(), kept.end()));
            }
        }
    }
}

TEST(ThinnerTest, KeepsTheLeastTheGreatestAndTheMeanOfEachBucket) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        ExpectExtremesStay(Drawn(1, 10000 + seed, seed), 300);
        ExpectExtremesStay(Drawn(3, 5000 + 7 * seed, seed), 500);
    }
}

TEST(ThinnerTest, KeepsWhatItFoundOfEachSample) {
    const auto samples = Drawn(2, 4000, 3);
    Thinner thinner = ThinnerOf(samples, 100);
    Moment last = -1.0;
    for (const auto& row : thinner.Rows()) {
        EXPECT_GT(row.moment, last);
        last = row.moment;
        const auto index = static_cast<std::size_t>(row.moment);
        EXPECT_EQ(row.line, index + 1);
        EXPECT_EQ(row.values, samples[index]);
    }
}

TEST(ThinnerTest, KeepsMarkedMoments) {
    Thinner thinner(1, 50);
    thinner.MustKeep(1234.0);
    for (int i = 0; i < 5000; ++i) {
        thinner.Add(i, 1.0, 1);
    }
    const auto rows = thinner.Rows();
    EXPECT_LE(rows.size(), 50U);
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                            [](const auto& row) { return row.moment == 1234.0; }));
}

TEST(ThinnerTest, LeavesOutSamplesFromThePast) {
    Thinner thinner(1, 10);
    for (const double moment : {5.0, 4.0, 5.0, 6.0, 1.0}) {
        thinner.Add(moment, std::optional(moment), 1);
    }
    std::vector<Moment> moments;
    for (const auto& row : thinner.Rows()) {
        moments.push_back(row.moment);
    }
    EXPECT_EQ(moments, (std::vector<Moment>{5.0, 5.0, 6.0}));
    EXPECT_EQ(thinner.Taken(), 3U);
    EXPECT_EQ(thinner.Backward(), 2U);
}

TEST(ThinnerTest, HoldsItsLimitWhateverMustStay) {
    Thinner thinner(1, 20);
    for (int i = 0; i < 1000; ++i) {
        thinner.MustKeep(i);
    }
    for (int i = 0; i < 1000; ++i) {
        thinner.Add(i, 1.0 * i, 1);
    }
    EXPECT_LE(thinner.Rows().size(), 20U);
}

}  // namespace
}  // namespace zarn::report
