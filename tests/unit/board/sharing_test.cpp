#include "board/model/sharing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace zarn::board {
namespace {

// Rounding of sums of doubles.
constexpr double kSlack = 1e-6;

double Sum(const PerMaster<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

PerMaster<double> Demands(double first, double second) {
    PerMaster<double> demands{};
    demands[0] = first;
    demands[1] = second;
    return demands;
}

TEST(ShareBandwidth, WhoFitsGetsWhatHeAsksFor) {
    PerMaster<double> demands{};
    demands.fill(5000.0);
    EXPECT_EQ(ShareBandwidth(demands, {}), demands);
}

TEST(ShareBandwidth, EqualPrioritiesShareInProportionToDemand) {
    const PerMaster<double> grants = ShareBandwidth(Demands(40000, 80000), {});
    EXPECT_NEAR(grants[0], kPeakMb * 40000 / (40000 + kPeakMb), kSlack);
    EXPECT_NEAR(Sum(grants), kPeakMb, kSlack);
}

TEST(ShareBandwidth, APriorityIsAWeight) {
    PerMaster<PartitionSetting> settings{};
    settings[0].priority = 7;
    settings[1].priority = 1;
    const PerMaster<double> grants = ShareBandwidth(Demands(50000, 50000), settings);
    EXPECT_NEAR(grants[0] / grants[1], 4.0, kSlack);
}

TEST(ShareBandwidth, WhatOneLeavesGoesToTheOther) {
    PerMaster<PartitionSetting> settings{};
    settings[0].priority = 7;
    settings[1].priority = 0;
    const PerMaster<double> grants = ShareBandwidth(Demands(30000, 50000), settings);
    EXPECT_NEAR(grants[0], 30000, kSlack);
    EXPECT_NEAR(grants[1], kPeakMb - 30000, kSlack);
}

TEST(ShareBandwidth, ALowBoundIsReservedHoweverWeakTheMasterIs) {
    PerMaster<PartitionSetting> settings{};
    settings[0] = {20, 51, 1, 0};
    settings[1].priority = 7;
    EXPECT_GE(ShareBandwidth(Demands(25000, 90000), settings)[0], 20 * 1024.0);
}

TEST(ShareBandwidth, LowBoundsBeyondThePeakAreScaledDownAlike) {
    PerMaster<PartitionSetting> settings{};
    settings[0].low = 51;
    settings[1].low = 51;
    const PerMaster<double> grants = ShareBandwidth(Demands(90000, 90000), settings);
    EXPECT_NEAR(grants[0], kPeakMb / 2, kSlack);
    EXPECT_NEAR(grants[1], kPeakMb / 2, kSlack);
}

TEST(ShareBandwidth, AHardLimitHoldsOnAnIdleBoardAndASoftOneDoesNot) {
    PerMaster<PartitionSetting> settings{};
    settings[0] = {0, 6, 1, 5};
    settings[1] = {0, 6, 0, 5};
    const PerMaster<double> grants = ShareBandwidth(Demands(10000, 10000), settings);
    EXPECT_NEAR(grants[0], 6 * 1024.0, kSlack);
    EXPECT_NEAR(grants[1], 10000, kSlack);
}

TEST(ShareBandwidth, ASoftLimitYieldsToOthersBeforeItIsExceeded) {
    PerMaster<PartitionSetting> settings{};
    settings[0] = {0, 6, 0, 7};
    const PerMaster<double> grants = ShareBandwidth(Demands(30000, 50000), settings);
    EXPECT_LE(grants[0], 6 * 1024.0 + kSlack);
    EXPECT_NEAR(Sum(grants), kPeakMb, kSlack);
}

TEST(ShareBandwidth, TheHighBoundWinsOverALowOneAboveIt) {
    PerMaster<PartitionSetting> settings{};
    settings[0] = {20, 4, 1, 5};
    EXPECT_NEAR(ShareBandwidth(Demands(30000, 0), settings)[0], 4 * 1024.0, kSlack);
}

TEST(ShareBandwidth, AnUnsetPartitionHasNoBounds) {
    PerMaster<PartitionSetting> settings{};
    settings[0] = {7, kUnsetHigh, 1, 5};
    EXPECT_NEAR(ShareBandwidth(Demands(52000, 0), settings)[0], 52000, kSlack);
}

// Conservation, reservation and caps over settings and demands of every kind.
TEST(ShareBandwidth, KeepsItsPromisesForAnySetting) {
    std::mt19937 random(20240);
    std::uniform_int_distribution<std::uint32_t> gb(0, 51);
    std::uniform_int_distribution<std::uint32_t> low(0, 5);
    std::uniform_int_distribution<std::uint32_t> bit(0, 1);
    std::uniform_int_distribution<std::uint32_t> priority(0, 7);
    std::uniform_real_distribution<double> demand(0, 30000);
    for (int round = 0; round < 2000; ++round) {
        PerMaster<PartitionSetting> settings{};
        PerMaster<double> demands{};
        for (std::size_t i = 0; i < kMasterCount; ++i) {
            settings[i] = {low(random), gb(random), bit(random), priority(random)};
            demands[i] = demand(random);
        }
        const PerMaster<double> grants = ShareBandwidth(demands, settings);
        ASSERT_LE(Sum(grants), kPeakMb + kSlack);
        double wanted = 0.0;
        for (std::size_t i = 0; i < kMasterCount; ++i) {
            const double high = settings[i].high * kMbPerGb;
            ASSERT_LE(grants[i], demands[i] + kSlack);
            ASSERT_GE(grants[i], std::min({demands[i], settings[i].low * kMbPerGb, high}) - kSlack);
            if (settings[i].hardlimit == 1) {
                ASSERT_LE(grants[i], high + kSlack);
            }
            wanted += settings[i].hardlimit == 1 ? std::min(demands[i], high) : demands[i];
        }
        // Nothing is held back while somebody may still take it.
        ASSERT_NEAR(Sum(grants), std::min(wanted, kPeakMb), kSlack);
    }
}

}  // namespace
}  // namespace zarn::board
