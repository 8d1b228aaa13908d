#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "board/model/bursts.h"
#include "board/model/core_times.h"
#include "board/setup/scenario_parser.h"
#include "board/state/observation.h"
#include "tests/support/temp_dir.h"

// What the delivered scenarios with bursts promise, by the model: over a minute of three seeds.
namespace zarn::board {
namespace {

constexpr std::uint64_t kTicks = 6000;  // of the cores' clock
constexpr std::uint64_t kMinuteUs = kTicks * kClockTickUs;

class BurstScenario : public testing::TestWithParam<std::uint64_t> {
protected:
    void Load(const std::string& name) {
        const std::string text =
            test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json");
        ASSERT_EQ(ParseScenario(text, *state_).value_or("taken"), "taken");
        state_->seed = GetParam();
        CoreTimes times(Plan(), state_->seed);
        for (std::uint64_t tick = 0; tick <= kTicks; ++tick) {
            times.Advance(tick);
            idle_.emplace_back();
            for (const CoreTicks& core : times.Cores()) {
                idle_.back().push_back(core.idle);
            }
        }
    }

    [[nodiscard]] const SchedPlan& Plan() const { return state_->scenario.sched; }

    [[nodiscard]] std::vector<KnownBurst> Bursts(bool ofMasters) const {
        std::vector<KnownBurst> bursts =
            BurstsIn(state_->scenario.demands, Plan(), state_->seed, {0, kMinuteUs});
        bursts.erase(std::remove_if(bursts.begin(), bursts.end(),
                                    [&](const KnownBurst& burst) {
                                        return burst.isMasters != ofMasters ||
                                               burst.span.toUs > kMinuteUs;
                                    }),
                     bursts.end());
        return bursts;
    }

    // The core of a task that may run on one alone.
    [[nodiscard]] std::uint32_t CoreOf(std::uint32_t task) const {
        std::uint32_t core = 0;
        while (Plan().tasks[task].affinity != 1U << core) {
            ++core;
        }
        return core;
    }

    // The share of a time, in ticks, in which a core is busy.
    [[nodiscard]] double Busy(std::uint32_t core, std::uint64_t from, std::uint64_t to) const {
        const std::uint64_t idle = idle_[to][core] - idle_[from][core];
        return 1.0 - static_cast<double>(idle) / static_cast<double>(to - from);
    }
    [[nodiscard]] double BusyIn(std::uint32_t core, const SchedSpan& span) const {
        return Busy(core, span.fromUs / kClockTickUs, span.toUs / kClockTickUs);
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
    std::vector<std::vector<std::uint64_t>> idle_;  // ticks of the cores until each tick
};

INSTANTIATE_TEST_SUITE_P(Seeds, BurstScenario, testing::Range<std::uint64_t>(1, 4));

TEST_P(BurstScenario, ShortSpikesFillACoreAndVanishInAMeanOfSeconds) {
    Load("short_spike");
    const std::vector<KnownBurst> spikes = Bursts(false);
    EXPECT_GE(spikes.size(), kMinuteUs / 3000000 + kMinuteUs / 4000000 - 2);
    for (const KnownBurst& spike : spikes) {
        EXPECT_EQ(spike.span.toUs - spike.span.fromUs, 300000U);
        EXPECT_GT(BusyIn(CoreOf(spike.index), spike.span), 0.88) << spike.span.fromUs;
    }
    for (std::uint32_t core = 0; core < Plan().cores; ++core) {
        for (std::uint64_t tick = 0; tick + 500 <= kTicks; tick += 10) {
            EXPECT_LT(Busy(core, tick, tick + 500), 0.3) << core << " at " << tick;
        }
    }
}

TEST_P(BurstScenario, SharedBurstsAreOfMemoryAndCoresAtOnce) {
    Load("shared_burst");
    const std::vector<KnownBurst> bursts = Bursts(true);
    EXPECT_GE(bursts.size(), kMinuteUs / 4000000 - 1);
    const auto demandAt = [&](std::uint64_t ms) {
        const PerMaster<double> demands = Observe(*state_, ms).demands;
        return std::accumulate(demands.begin(), demands.end(), 0.0);
    };
    std::uint64_t lastUs = 0;
    for (const KnownBurst& burst : bursts) {
        EXPECT_GT(demandAt(burst.span.fromUs / 1000), 43000.0);
        if (burst.span.fromUs > lastUs) {
            EXPECT_LT(demandAt(lastUs / 1000), 31000.0);
        }
        for (const std::uint32_t core : {1U, 2U, 3U}) {
            EXPECT_GT(BusyIn(core, burst.span), 0.4) << core << " at " << burst.span.fromUs;
            if (burst.span.fromUs > lastUs + 500000) {
                EXPECT_LT(BusyIn(core, {lastUs + 100000, burst.span.fromUs}), 0.3)
                    << core << " before " << burst.span.fromUs;
            }
        }
        lastUs = burst.span.toUs;
    }
    EXPECT_EQ(Bursts(false).size(), 3 * bursts.size());
}

}  // namespace
}  // namespace zarn::board
