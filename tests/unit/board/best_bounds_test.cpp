#include "board/bench/best_bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "tests/support/amounts.h"

namespace zarn::board {
namespace {

// A board whose CPU, AI and image masters ask for more than there is, the demands without noise.
class BestBoundsTest : public testing::Test {
protected:
    BestBoundsTest() {
        ResetSettings(*state_);
        Demand(0, 20.0);
        Demand(3, 20.0);
        Demand(4, 40.0);
        Demand(8, 5.0);
        settings_.periods = 3;
    }

    // Sets the demand of master `index` in GB/s.
    void Demand(std::size_t index, double gb) {
        state_->scenario.demands[index].base = gb * kMbPerGb;
    }

    // Tries each setting without any short cut.
    double BestByHand(std::uint32_t step) {
        const RunRates before = RatesOfRun(*state_, settings_);
        const auto saved = state_->partitions;
        double best = -1.0;
        SearchedBounds bounds;
        std::array<std::uint32_t, 6> at{};
        for (bool more = true; more;) {
            for (std::size_t i = 0; i < kSearchedCount; ++i) {
                bounds.low[i] = at[2 * i] * step;
                bounds.high[i] = at[2 * i + 1] * step;
            }
            SetBounds(*state_, bounds);
            const RunRates rates = RatesOfRun(*state_, settings_);
            if (KeepsLimits(rates, before, limits_)) {
                best = std::max(best, rates.mean[kCpuStress]);
            }
            more = Count(at, kPeakGb / step);
        }
        state_->partitions = saved;
        return best;
    }

    // Counts on; false after the last.
    static bool Count(std::array<std::uint32_t, 6>& at, std::uint32_t last) {
        for (std::uint32_t& digit : at) {
            if (++digit <= last) {
                return true;
            }
            digit = 0;
        }
        return false;
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
    BenchSettings settings_;
    BenchLimits limits_;
};

TEST_F(BestBoundsTest, RatesFollowTheShareThatIsServed) {
    // 85 GB/s are asked for and 51 are given: each is served 60 percent.
    const RunRates rates = RatesOfRun(*state_, settings_);
    EXPECT_NEAR(rates.mean[kCpuStress], 36.0, 1e-9);
    EXPECT_NEAR(rates.mean[kAicStress], 72.0, 1e-9);
    EXPECT_NEAR(rates.mean[kVpcStress], 144.0, 1e-9);
    EXPECT_EQ(rates.mean[kVencStress], 60.0) << "nothing is asked for";
    EXPECT_EQ(rates.leastCamera, 30.0) << "the camera needs only half of its demand";
}

// What is tried grows with the sixth power of the steps.
constexpr std::uint32_t kStep = test::Amount(8) == 8 ? 10 : 17;

TEST_F(BestBoundsTest, FindsWhatTryingEverythingFinds) {
    for (const double rate : {0.0, 0.1, 0.5}) {
        limits_.worseRate = rate;
        const BestBounds best = FindBestBounds(*state_, settings_, limits_, kStep);
        ASSERT_TRUE(best.found);
        EXPECT_DOUBLE_EQ(best.rates.mean[kCpuStress], BestByHand(kStep)) << rate;
        EXPECT_LE(best.tried, 21U * 21U * 21U);
        SetBounds(*state_, best.bounds);
        EXPECT_DOUBLE_EQ(RatesOfRun(*state_, settings_).mean[kCpuStress],
                         best.rates.mean[kCpuStress]);
        ResetSettings(*state_);
    }
}

TEST_F(BestBoundsTest, TheCameraFloorCostsTheCpu) {
    settings_.speeds[kIspStress].need = 0.6;
    limits_.worseRate = 0.5;
    const double free = FindBestBounds(*state_, settings_, limits_, kStep).rates.mean[kCpuStress];
    limits_.cameraFloor = 29.9;
    const BestBounds best = FindBestBounds(*state_, settings_, limits_, kStep);
    ASSERT_TRUE(best.found);
    EXPECT_GT(best.rates.leastCamera, 29.9);
    EXPECT_LE(best.rates.mean[kCpuStress], free);
    EXPECT_DOUBLE_EQ(best.rates.mean[kCpuStress], BestByHand(kStep));
}

TEST_F(BestBoundsTest, LimitsThatCannotBeKeptAreSaid) {
    limits_.cameraFloor = 31.0;
    EXPECT_FALSE(FindBestBounds(*state_, settings_, limits_, 17).found);
}

TEST_F(BestBoundsTest, NoiseMovesARateByAtMostItsShareAndDiffersByRun) {
    settings_.noise = 0.05;
    const StressRates exact = RatesAt(*state_, settings_, 1);
    const StressRates first = MeasuredRates(*state_, settings_, 0, 1);
    const StressRates second = MeasuredRates(*state_, settings_, 1, 1);
    EXPECT_EQ(first, MeasuredRates(*state_, settings_, 0, 1)) << "nothing else matters";
    for (std::size_t i = 0; i < kStressCount; ++i) {
        EXPECT_NE(first[i], second[i]);
        EXPECT_NEAR(first[i], exact[i], 0.05 * exact[i] + 1e-9);
    }
    settings_.noise = 0.0;
    EXPECT_EQ(MeasuredRates(*state_, settings_, 0, 1), exact);
}

TEST(StressLinesTest, HaveTheFormThatTheOptimizerReads) {
    EXPECT_EQ(ResultLine({1.0, 2.5, 3.0, 4.0, 29.97}),
              "aicStress : 1.000000 fps. cpuStress : 2.500000 fps. imgpVencStress : 3.000000 fps. "
              "imgpVpcStress : 4.000000 fps. ispStress : 29.970000 fps.\n");
    const std::string head = HeadLines(BenchSettings(), 3);
    EXPECT_EQ(std::count(head.begin(), head.end(), '\n'), 4);
}

}  // namespace
}  // namespace zarn::board
