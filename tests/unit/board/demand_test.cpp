#include "board/model/demand.h"

#include <gtest/gtest.h>

namespace zarn::board {
namespace {

MasterDemand Phased() {
    MasterDemand demand;
    demand.base = 1000.0;
    demand.phaseCount = 2;
    demand.phases[0] = {300, 1.0};
    demand.phases[1] = {200, 2.5};
    return demand;
}

TEST(DemandAt, PhasesFollowOneAnotherAndStartAgain) {
    const MasterDemand demand = Phased();
    EXPECT_EQ(DemandAt(demand, 1, 0, 0), 1000.0);
    EXPECT_EQ(DemandAt(demand, 1, 0, 299), 1000.0);
    EXPECT_EQ(DemandAt(demand, 1, 0, 300), 2500.0);
    EXPECT_EQ(DemandAt(demand, 1, 0, 499), 2500.0);
    EXPECT_EQ(DemandAt(demand, 1, 0, 500), 1000.0);
}

TEST(DemandAt, NothingMovesWithinATick) {
    MasterDemand demand = Phased();
    demand.noise = 0.5;
    EXPECT_EQ(DemandAt(demand, 1, 0, 700), DemandAt(demand, 1, 0, 799));
    EXPECT_NE(DemandAt(demand, 1, 0, 500), DemandAt(demand, 1, 0, 600));
}

TEST(DemandAt, NoiseStaysWithinItsShareAndReachesBothSides) {
    MasterDemand demand;
    demand.base = 1000.0;
    demand.noise = 0.2;
    double least = 1000.0;
    double most = 1000.0;
    for (std::uint64_t tick = 0; tick < 1000; ++tick) {
        const double value = DemandAt(demand, 7, 3, tick * kTickMs);
        least = std::min(least, value);
        most = std::max(most, value);
    }
    EXPECT_GE(least, 800.0);
    EXPECT_LT(least, 820.0);
    EXPECT_LE(most, 1200.0);
    EXPECT_GT(most, 1180.0);
}

TEST(DemandAt, EachStretchHoldsOneWholeBurst) {
    MasterDemand demand;
    demand.base = 100.0;
    demand.burstEveryMs = 2000;
    demand.burstLengthMs = 400;
    demand.burstAdd = 5000.0;
    for (std::uint64_t stretch = 0; stretch < 50; ++stretch) {
        int ticks = 0;
        for (std::uint64_t ms = 0; ms < 2000; ms += kTickMs) {
            ticks += DemandAt(demand, 5, 2, stretch * 2000 + ms) > 5000.0 ? 1 : 0;
        }
        EXPECT_EQ(ticks, 4) << stretch;
    }
}

TEST(DemandAt, SeedAndMasterChangeTheNoise) {
    MasterDemand demand;
    demand.base = 1000.0;
    demand.noise = 0.2;
    EXPECT_EQ(DemandAt(demand, 7, 3, 100), DemandAt(demand, 7, 3, 100));
    EXPECT_NE(DemandAt(demand, 7, 3, 100), DemandAt(demand, 8, 3, 100));
    EXPECT_NE(DemandAt(demand, 7, 3, 100), DemandAt(demand, 7, 4, 100));
}

TEST(DemandAt, NeverNegative) {
    MasterDemand demand;
    demand.base = 1000.0;
    demand.burstEveryMs = 100;
    demand.burstLengthMs = 100;
    demand.burstAdd = -5000.0;
    EXPECT_EQ(DemandAt(demand, 1, 0, 0), 0.0);
}

}  // namespace
}  // namespace zarn::board
