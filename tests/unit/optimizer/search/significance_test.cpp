#include "optimizer/search/significance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using test::Capture;
using test::Captured;
using testing::ElementsAre;

constexpr const char* kAnalyzingWarning =
    "[DdrOptimizer] Warning! Insufficient perf data collection when perf analyzing. Pleass enlarge "
    "collect times.\n";
constexpr const char* kComparingWarning =
    "[DdrOptimizer] Warning! Insufficient perf data collection when comparing. Pleass enlarge "
    "collect times.\n";

// Two samples whose t is exactly 1.729 * factor have differences 1.729 * factor +- 1 / 1: mean m,
// spread sqrt(2), so t = m.
std::vector<double> TwoWithT(double t) {
    return {t - 1.0, t + 1.0};
}

TEST(PerfTTestTest, ComputesThePairedT) {
    struct Case {
        std::vector<double> base;
        std::vector<double> fresh;
        double t;
        bool better;
    };
    const Case cases[] = {
        // differences 1, 2, 3: mean 2, spread 1, t = 2 * sqrt(3)
        {{10, 10, 10}, {11, 12, 13}, 3.4641016151377544, true},
        // differences -1, -2, -3
        {{11, 12, 13}, {10, 10, 10}, -3.4641016151377544, false},
        // differences 0, 2: mean 1, spread sqrt(2), t = 1
        {{5, 5}, {5, 7}, 1.0, false},
        {{0, 0}, TwoWithT(1.75), 1.75, true},
        {{0, 0}, TwoWithT(1.71875), 1.71875, false},
    };
    for (const Case& one : cases) {
        std::vector<double> fresh = one.fresh;
        double t = 0.0;
        EXPECT_EQ(PerfTTest(one.base, fresh, t), one.better);
        EXPECT_NEAR(t, one.t, 1e-12);
    }
}

TEST(PerfTTestTest, WithoutSpreadTIsNoNumberOrInfinite) {
    struct Case {
        std::vector<double> base;
        std::vector<double> fresh;
        double t;
        bool better;
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const Case cases[] = {
        {{3, 4, 5}, {3, 4, 5}, kNan, false},
        {{}, {}, kNan, false},
        {{3}, {9}, kNan, false},
        {{3, 4}, {4, 5}, kInfinity, true},
        {{4, 5}, {3, 4}, -kInfinity, false},
    };
    for (const Case& one : cases) {
        std::vector<double> fresh = one.fresh;
        double t = 0.0;
        EXPECT_EQ(PerfTTest(one.base, fresh, t), one.better);
        EXPECT_TRUE(std::isnan(one.t) ? std::isnan(t) : t == one.t) << t;
    }
}

TEST(PerfTTestTest, FitsTheNewListToTheOldAndSaysSo) {
    struct Case {
        std::vector<double> fresh;
        std::vector<double> fitted;
    };
    const std::vector<double> base = {1, 2, 3};
    for (const Case& one :
         {Case{{4, 5, 6, 7}, {4, 5, 6}}, Case{{4}, {4, 0, 0}}, Case{{}, {0, 0, 0}}}) {
        std::vector<double> fresh = one.fresh;
        double t = 0.0;
        const Captured captured = Capture([&] { (void)PerfTTest(base, fresh, t); });
        EXPECT_EQ(fresh, one.fitted);
        EXPECT_EQ(captured.err, kAnalyzingWarning);
        EXPECT_EQ(captured.out, "");
    }
}

TEST(PerfTTestTest, TheTableHasTheCriticalValuesOfNineteenDegrees) {
    EXPECT_THAT(tCriticalValues, ElementsAre(std::pair("0.0005", 3.883), std::pair("0.001", 3.579),
                                             std::pair("0.005", 2.861), std::pair("0.01", 2.539),
                                             std::pair("0.025", 2.093), std::pair("0.05", 1.729),
                                             std::pair("0.1", 1.328), std::pair("0.15", 1.066),
                                             std::pair("0.2", 0.861), std::pair("0.25", 0.688)));
}

class ComparePerfTest : public testing::Test {
protected:
    // Differences that make the CPU clearly better, with the other groups well inside their limits.
    ComparePerfTest()
        : benchmark_{{"aic", {100, 100, 100}},
                     {"cpu", {50, 50, 50}},
                     {"imgp", {200, 200, 200}},
                     {"isp", {30, 30, 30}}},
          fresh_{{"aic", {99, 100, 101}},
                 {"cpu", {52, 53, 54}},
                 {"imgp", {199, 200, 201}},
                 {"isp", {29, 30, 31}}} {}

    bool Compare() { return ComparePerf(state_, benchmark_, fresh_, tValues_); }

    PsoState state_;
    PerfMap benchmark_;
    PerfMap fresh_;
    std::map<std::string, double> tValues_;
};

TEST_F(ComparePerfTest, AcceptsWhenAllFourPass) {
    EXPECT_TRUE(Compare());
    ASSERT_EQ(tValues_.size(), 4U);
    EXPECT_NEAR(tValues_["cpu"], 3.0 * std::sqrt(3.0), 1e-9);
    EXPECT_NEAR(tValues_["aic"], 10.0 * std::sqrt(3.0), 1e-9);   // against 90
    EXPECT_NEAR(tValues_["imgp"], 20.0 * std::sqrt(3.0), 1e-9);  // against 180
    EXPECT_EQ(tValues_["isp"], 29.0);
}

TEST_F(ComparePerfTest, EachGroupAloneCanRefuse) {
    struct Case {
        std::string group;
        std::vector<double> rates;
    };
    const Case cases[] = {
        {"cpu", {49, 50, 51}},
        {"aic", {89, 90, 91}},
        {"imgp", {179, 180, 181}},
        {"isp", {40, 28, 40}},
    };
    for (const Case& one : cases) {
        PerfMap fresh = fresh_;
        fresh[one.group] = one.rates;
        tValues_.clear();
        EXPECT_FALSE(ComparePerf(state_, benchmark_, fresh, tValues_)) << one.group;
        EXPECT_EQ(tValues_.size(), 4U) << "every group is tested, whatever those before it gave";
    }
}

TEST_F(ComparePerfTest, TheCameraHasToStayAboveItsBound) {
    for (const auto& [smallest, accepted] : {std::pair(28.0, false), std::pair(28.01, true)}) {
        fresh_["isp"] = {30, smallest, 31};
        EXPECT_EQ(Compare(), accepted);
        EXPECT_EQ(tValues_["isp"], smallest);
    }
    state_.camFpsBound = 29;
    EXPECT_FALSE(Compare());
}

TEST_F(ComparePerfTest, TheShareThatMayBeLostIsASetting) {
    // Against 100 the mean is 0 and the test fails; against 90 the same rates pass.
    state_.aiWorseRate = 0.0;
    EXPECT_FALSE(Compare());
    EXPECT_NEAR(tValues_["aic"], 0.0, 1e-9);
    state_.aiWorseRate = 0.1;
    EXPECT_TRUE(Compare());
}

TEST_F(ComparePerfTest, EqualRatesPassTheScaledTestIfTheyAreSteadyEnough) {
    // The differences are a tenth of each rate, so their spread is that of the rates.
    fresh_["aic"] = benchmark_["aic"] = {99, 100, 101};
    (void)Compare();
    EXPECT_NEAR(tValues_["aic"], 10.0 / (0.1 / std::sqrt(3.0)), 1e-6);
    fresh_["aic"] = benchmark_["aic"] = {1, 100, 1000};
    EXPECT_FALSE(Compare());
    EXPECT_LT(tValues_["aic"], 1.729);
}

TEST_F(ComparePerfTest, AShortRunIsFilledWithZerosAndRefused) {
    fresh_ = {{"cpu", {60}}, {"aic", {100}}, {"imgp", {200}}, {"isp", {30}}};
    const Captured captured = Capture([this] { EXPECT_FALSE(Compare()); });
    EXPECT_EQ(captured.err, std::string(kAnalyzingWarning) + kAnalyzingWarning + kAnalyzingWarning +
                                kComparingWarning);
    EXPECT_EQ(tValues_["isp"], 0.0);
    EXPECT_THAT(fresh_["cpu"], ElementsAre(60, 0, 0));
}

TEST_F(ComparePerfTest, AGroupTheRunLacksCountsAsZeros) {
    fresh_.erase("isp");
    const Captured captured = Capture([this] { EXPECT_FALSE(Compare()); });
    EXPECT_EQ(captured.err, kComparingWarning);
    EXPECT_THAT(fresh_["isp"], ElementsAre(0, 0, 0));
}

TEST_F(ComparePerfTest, NoSamplesAtAllIsAnError) {
    benchmark_ = {{"aic", {}}, {"cpu", {}}, {"imgp", {}}, {"isp", {}}};
    fresh_.clear();
    const Captured captured = Capture([this] { EXPECT_FALSE(Compare()); });
    EXPECT_EQ(captured.err,
              "[DdrOptimizer] Failed to compare perf resuls. Error: no frame rate of isp\n");
    EXPECT_TRUE(std::isnan(tValues_["cpu"]));
    EXPECT_EQ(tValues_.count("isp"), 0U);
}

}  // namespace
}  // namespace zarn
