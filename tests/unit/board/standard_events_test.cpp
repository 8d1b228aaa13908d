#include "board/model/standard_events.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace zarn::board {
namespace {

using Event = StandardEvent;

PipelineProfile Usual() {
    PipelineProfile profile;
    profile.functions = UsualFunctions(1);
    return profile;
}

constexpr std::array<std::pair<Event, Event>, 9> kMisses{{
    {Event::BranchMisses, Event::Branches},
    {Event::Branches, Event::Instructions},
    {Event::CacheMisses, Event::CacheReferences},
    {Event::LastLoadMisses, Event::LastLoads},
    {Event::LastStoreMisses, Event::LastStores},
    {Event::FirstLoadMisses, Event::FirstLoads},
    {Event::FirstStoreMisses, Event::FirstStores},
    {Event::DataTlbLoadMisses, Event::DataTlbLoads},
    {Event::CodeTlbLoadMisses, Event::CodeTlbLoads},
}};

TEST(StandardEvents, GoByTheNamesOfPerf) {
    EXPECT_EQ(StandardEventOf("cycles"), Event::Cycles);
    EXPECT_EQ(StandardEventOf("cache-misses"), Event::CacheMisses);
    EXPECT_EQ(StandardEventOf("iTLB-load-misses"), Event::CodeTlbLoadMisses);
    for (const char* other : {"", "cycle", "cycles:u", "Cycles", "page-faults", "r11"}) {
        EXPECT_EQ(StandardEventOf(other), std::nullopt) << other;
    }
}

// However odd the profile: all misses, next to no instructions.
TEST(StandardEvents, AreNoMoreMissesThanThereIsToMiss) {
    PipelineProfile odd = Usual();
    odd.retiring = 0.001;
    odd.branchMisses = 500;
    odd.ddrWait = 0.9;
    odd.l1Open = 1;
    odd.storeStall = 0.5;
    odd.itlbNear = 0.5;
    for (const PipelineProfile& profile : {Usual(), odd}) {
        for (const double stretch : {1.0, 3.0, 20.0}) {
            const StandardCounts rates = StandardRatesPerCycle(profile, stretch);
            for (const auto& [misses, whole] : kMisses) {
                if (whole != Event::Instructions || profile.retiring > 0.1) {
                    EXPECT_LE(rates[misses], rates[whole])
                        << kStandardEventNames[static_cast<std::size_t>(misses)];
                }
            }
        }
    }
}

// What a program looks up does not depend on how long it waits for it.
TEST(StandardEvents, AreAsManyForTheSameWorkWhereverTheMemoryIsShort) {
    const PipelineProfile profile = Usual();
    const StandardCounts fast = StandardRatesPerCycle(profile, 1);
    const StandardCounts slow = StandardRatesPerCycle(profile, 5);
    const double factor = TimeFactor(profile, 5);
    ASSERT_GT(factor, 1.1);
    for (const Event event : {Event::Instructions, Event::CacheMisses, Event::CacheReferences,
                              Event::FirstLoads, Event::CodeTlbLoadMisses}) {
        EXPECT_NEAR(slow[event] * factor, fast[event], 1e-12);
    }
    EXPECT_EQ(slow[Event::Cycles], 1.0);
    EXPECT_GT(slow[Event::BackendStalls], fast[Event::BackendStalls]);
}

TEST(StandardEvents, FollowFromTheProfile) {
    const PipelineProfile profile = Usual();
    const StandardCounts rates = StandardRatesPerCycle(profile, 1);
    EXPECT_NEAR(rates[Event::Instructions], 1.4, 1e-9);
    EXPECT_NEAR(rates[Event::Branches], 0.252, 1e-9);
    EXPECT_NEAR(rates[Event::FrontendStalls], 0.15, 1e-9);
    // 0.15 cycles with a miss open, each of 200.
    EXPECT_NEAR(rates[Event::LastLoadMisses], 0.15 / 200, 1e-9);
    EXPECT_NEAR(rates[Event::LastLoads], 0.15 / 200 + 0.05 / 15, 1e-9);
    EXPECT_NEAR(rates[Event::CacheMisses], 1.25 * 0.15 / 200, 1e-9);
}

// Lines come to the functions that wait for them.
TEST(StandardEvents, BelongToTheFunctionsThatWait) {
    PipelineProfile profile = Usual();
    PerFunction shares = LineShares(profile);
    double sum = 0.0;
    for (const double share : shares) {
        sum += share;
    }
    EXPECT_NEAR(sum, 1.0, 1e-12);
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        for (std::size_t k = 0; k < kWorkFunctionCount; ++k) {
            if (profile.functions[i] > 0 && profile.functions[k] > 0 &&
                kWorkFunctions[i].waits > kWorkFunctions[k].waits) {
                EXPECT_GT(shares[i] / profile.functions[i], shares[k] / profile.functions[k]);
            }
        }
    }
    profile.ddrWait = 0;
    profile.ddrOverlap = 0;
    EXPECT_EQ(LineShares(profile), PerFunction{});
    EXPECT_EQ(StandardRatesPerCycle(profile, 1)[Event::CacheMisses], 0.0);
}

}  // namespace
}  // namespace zarn::board
