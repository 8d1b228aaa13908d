#include "board/model/pipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "board/model/demand.h"
#include "board/model/topdown.h"

namespace zarn::board {
namespace {

using Event = CpuEvent;

// A profile of any shares that a scenario may have.
class AnyProfile {
public:
    explicit AnyProfile(std::uint64_t seed) : seed_(seed) {
        Share({&profile_.retiring, &profile_.badSpeculation, &profile_.frontend});
        Share({&profile_.loadStall, &profile_.storeStall, &profile_.ddrWait, &profile_.resource,
               &profile_.core});
        Share({&profile_.indirect, &profile_.push, &profile_.pop});
        for (double* value :
             {&profile_.fetchLatency, &profile_.itlbNear, &profile_.itlbFar, &profile_.icacheNear,
              &profile_.icacheFar, &profile_.nuke, &profile_.ddrOverlap, &profile_.l1Open}) {
            *value = Next();
        }
        profile_.branchMisses = 20 * Next();
        profile_.flushes = 10 * Next();
        profile_.functions = UsualFunctions(seed % 2 == 0 ? 1 : 2);
    }

    [[nodiscard]] const PipelineProfile& Profile() const { return profile_; }
    // From 0 to 1.
    double Next() { return (1.0 + SwingOf(seed_, 0, 0, ++step_)) / 2; }

private:
    // Values whose sum is at most 1.
    void Share(std::initializer_list<double*> values) {
        double left = 1.0;
        for (double* value : values) {
            *value = left * Next();
            left -= *value;
        }
    }

    std::uint64_t seed_;
    std::uint64_t step_ = 0;
    PipelineProfile profile_;
};

class AnyPipeline : public testing::Test {
protected:
    // Hands many profiles to `check`, each served well or badly by the memory.
    template <typename Check>
    static void ForMany(const Check& check) {
        for (std::uint64_t seed = 1; seed <= 2000; ++seed) {
            AnyProfile any(seed);
            const double stretch = seed % 3 == 0 ? 1.0 : 1.0 + 19.0 * any.Next();
            SCOPED_TRACE("seed " + std::to_string(seed));
            check(any.Profile(), stretch);
        }
    }
};

TEST_F(AnyPipeline, HasFourSlotsACycleAndLosesTheRestInTheBackEnd) {
    ForMany([](const PipelineProfile& profile, double stretch) {
        const CpuCounts rates = RatesPerCycle(profile, stretch);
        const auto metrics = TopdownOf(rates).metrics;
        // The time that the memory adds is lost in the back end, whole cycles of slots of it.
        const double factor = TimeFactor(profile, stretch);
        const double backend =
            1 - profile.retiring - profile.badSpeculation - profile.frontend + factor - 1;
        EXPECT_NEAR(metrics.at("Backend_Bound"), backend / factor, 1e-12);
        EXPECT_NEAR(metrics.at("Retiring"), profile.retiring / factor, 1e-12);
        EXPECT_NEAR(metrics.at("Bad_Speculation"), profile.badSpeculation / factor, 1e-12);
        EXPECT_NEAR(metrics.at("Frontend_Bound"), profile.frontend / factor, 1e-12);
        EXPECT_LE(rates[Event::InstSpec] + rates[Event::FetchBubble], kSlotsPerCycle + 1e-12);
        EXPECT_NEAR(metrics.at("Backend_Bound") + metrics.at("Retiring") +
                        metrics.at("Bad_Speculation") + metrics.at("Frontend_Bound"),
                    1.0, 1e-12);
    });
}

TEST_F(AnyPipeline, RefillsNoMoreThanItAsksForAndMissesBelowNoMoreThanAbove) {
    ForMany([](const PipelineProfile& profile, double stretch) {
        const CpuCounts rates = RatesPerCycle(profile, stretch);
        EXPECT_LE(rates[Event::L2iRefill], rates[Event::L2iAccess]);
        EXPECT_LE(rates[Event::L2iTlbRefill], rates[Event::L2iTlbAccess]);
        EXPECT_LE(rates[Event::L2MissOpen], rates[Event::L1MissOpen]);
        EXPECT_LE(rates[Event::L1MissOpen], rates[Event::Cycles]);
        EXPECT_LE(rates[Event::InstRetired], rates[Event::InstSpec]);
        EXPECT_LE(rates[Event::NukeFlush], rates[Event::Flush]);
        EXPECT_LE(rates[Event::LongFetchBubble], rates[Event::FetchBubble]);
        EXPECT_LE(rates[Event::IndirectMiss] + rates[Event::CallMiss] + rates[Event::PushMiss] +
                      rates[Event::ReturnMiss],
                  rates[Event::BranchMisses] + 1e-12);
    });
}

TEST_F(AnyPipeline, StallsInNoMoreThanItsCycles) {
    ForMany([](const PipelineProfile& profile, double stretch) {
        const CpuCounts rates = RatesPerCycle(profile, stretch);
        EXPECT_LE(rates[Event::LoadStall] + rates[Event::StoreStall] + rates[Event::ResourceStall],
                  rates[Event::ExeStall] + 1e-12);
        EXPECT_LE(rates[Event::ExeStall], 1.0 + 1e-12);
    });
}

TEST_F(AnyPipeline, DoesAllItsCyclesInFunctions) {
    ForMany([](const PipelineProfile& profile, double stretch) {
        const PerFunction shares = FunctionShares(profile, stretch);
        EXPECT_NEAR(std::accumulate(shares.begin(), shares.end(), 0.0), 1.0, 1e-12);
        EXPECT_GE(*std::min_element(shares.begin(), shares.end()), 0.0);
    });
}

// Waits for the memory in a tenth of its cycles, all of them in functions whose wait is in
// proportion to their weights.
PipelineProfile Usual() {
    PipelineProfile profile;
    profile.functions = UsualFunctions(1);
    return profile;
}

TEST(Pipeline, DoesItsWorkInTheTimeThatTheMemoryGivesIt) {
    EXPECT_DOUBLE_EQ(TimeFactor(Usual(), 1.0), 1.0);
    EXPECT_NEAR(TimeFactor(Usual(), 3.0), 1.2, 1e-12);
    // Of the same work the same is retired, in more cycles.
    EXPECT_NEAR(RatesPerCycle(Usual(), 3.0)[Event::InstRetired] * 1.2, 1.4, 1e-12);
    EXPECT_NEAR(RatesPerCycle(Usual(), 3.0)[Event::LoadStall] * 1.2, 0.08 + 0.3, 1e-12);
}

TEST(Pipeline, HasMissesOpenWhileItWorksOn) {
    // 0.1 waited for and 0.05 beside it, three times as long, which is more than all load stalls of
    // 0.38.
    EXPECT_NEAR(RatesPerCycle(Usual(), 3.0)[Event::L2MissOpen] * 1.2, 0.45, 1e-12);
    EXPECT_NEAR(RatesPerCycle(Usual(), 3.0)[Event::L1MissOpen] * 1.2, 0.50, 1e-12);
}

TEST(Pipeline, SpendsMoreInFunctionsThatWaitWhenTheMemoryIsShort) {
    const PerFunction served = FunctionShares(Usual(), 1.0);
    const PerFunction short_ = FunctionShares(Usual(), 4.0);
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        const std::string name = kWorkFunctions[i].name;
        const bool waits = name == "copy_frame" || name == "filter_image";
        EXPECT_EQ(short_[i] > served[i], waits) << name;
    }
    EXPECT_DOUBLE_EQ(served[0], 0.25);
    EXPECT_DOUBLE_EQ(served[6], 0.0);
}

TEST(Pipeline, HasAFunctionMoreInTheSecondVersion) {
    EXPECT_DOUBLE_EQ(UsualFunctions(1)[6], 0.0);
    EXPECT_NEAR(UsualFunctions(2)[6], 8.0 / 112, 1e-12);
}

TEST(TopdownOf, SaysNothingWithoutCycles) {
    const Topdown nothing = TopdownOf(CpuCounts());
    EXPECT_TRUE(nothing.metrics.empty());
    EXPECT_EQ(nothing.bottleneck, "");
}

TEST(TopdownOf, LeadsToTheDeepestOfTheLargestValues) {
    const Topdown usual = TopdownOf(RatesPerCycle(Usual(), 1.0));
    EXPECT_EQ(usual.metrics.size(), 41U);
    EXPECT_EQ(usual.bottleneck, "Backend_Bound.Memory_Bound.L1_Bound");
    EXPECT_EQ(TopdownOf(RatesPerCycle(Usual(), 4.0)).bottleneck,
              "Backend_Bound.Memory_Bound.DRAM_Bound");
}

}  // namespace
}  // namespace zarn::board
