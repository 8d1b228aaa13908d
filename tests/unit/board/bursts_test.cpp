#include "board/model/bursts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "board/server/burst_texts.h"
#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kMinuteUs = 60000000;

// A master and three tasks: one that follows it, one with the same times of its own, one without.
std::unique_ptr<BoardState> Bursting(std::uint64_t seed) {
    auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(R"({
        "masters": {"sdma": {"demand": 1000, "burst": {"every_ms": 2350, "length_ms": 420, "add": 9000}},
                    "cpu": {"demand": 1000}},
        "sched": {"cores": 1, "processes": [
            {"name": "follower", "run_us": 100, "period_us": 1000,
             "burst": {"follows": "sdma", "factor": 5}},
            {"name": "other", "run_us": 100, "period_us": 1000,
             "burst": {"every_ms": 2350, "length_ms": 420, "factor": 5}},
            {"name": "steady", "run_us": 100, "period_us": 1000}]}})",
                            *state)
                  .value_or("taken"),
              "taken");
    state->seed = seed;
    return state;
}

std::vector<KnownBurst> BurstsOf(const BoardState& state, const SchedSpan& span) {
    return BurstsIn(state.scenario.demands, state.scenario.sched, state.seed, span);
}

// Whether the burst of one lasts at a moment, by the list.
bool IsListed(const std::vector<KnownBurst>& bursts, bool isMasters, std::uint32_t index,
              std::uint64_t timeUs) {
    bool found = false;
    for (const KnownBurst& burst : bursts) {
        found = found || (burst.isMasters == isMasters && burst.index == index &&
                          timeUs >= burst.span.fromUs && timeUs < burst.span.toUs);
    }
    return found;
}

constexpr std::uint32_t kSdma = 6;

TEST(BurstsTest, AreThoseOfTheDemand) {
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        const auto state = Bursting(seed);
        const auto bursts = BurstsOf(*state, {0, kMinuteUs});
        const MasterDemand& demand = state->scenario.demands[kSdma];
        for (std::uint64_t ms = 0; ms < kMinuteUs / 1000; ms += 50) {
            EXPECT_EQ(IsListed(bursts, true, kSdma, ms * 1000),
                      DemandAt(demand, seed, kSdma, ms) > 5000.0)
                << "at " << ms << " ms of seed " << seed;
        }
    }
}

TEST(BurstsTest, AreThoseOfTheTasks) {
    const auto state = Bursting(3);
    const auto bursts = BurstsOf(*state, {0, kMinuteUs});
    for (std::uint32_t task = 0; task < 3; ++task) {
        for (std::uint64_t us = 0; us < kMinuteUs; us += 9973) {
            EXPECT_EQ(IsListed(bursts, false, task, us),
                      IsInTaskBurst(state->scenario.sched.tasks[task].burst, 3, task, us))
                << task << " at " << us;
        }
    }
}

TEST(BurstsTest, OneThatFollowsBurstsWithTheMasterAndOthersElsewhere) {
    const auto state = Bursting(2);
    std::set<std::uint64_t> masters;
    std::set<std::uint64_t> followers;
    std::set<std::uint64_t> others;
    for (const KnownBurst& burst : BurstsOf(*state, {0, kMinuteUs})) {
        auto& begins = burst.isMasters ? masters : burst.index == 0 ? followers : others;
        begins.insert(burst.span.fromUs);
    }
    EXPECT_GE(masters.size(), kMinuteUs / 2350000);
    EXPECT_EQ(followers, masters);
    EXPECT_EQ(others.size(), masters.size());
    EXPECT_NE(others, masters);
}

TEST(BurstsTest, RunsFollowTheMaster) {
    const auto state = Bursting(4);
    SchedPlan plan = state->scenario.sched;
    plan.taskCount = 1;
    std::uint64_t wokenUs = 0;
    int longOnes = 0;
    for (const SchedEvent& event : EventsIn(plan, 4, {0, kMinuteUs})) {
        if (event.kind == SchedEventKind::kWakeup) {
            wokenUs = event.timeUs;
        } else if (event.task == SchedEvent::kIdleTask) {
            const bool isInBurst = IsInTaskBurst(plan.tasks[0].burst, 4, 0, wokenUs);
            EXPECT_EQ(event.timeUs - wokenUs, isInBurst ? 500U : 100U) << wokenUs;
            longOnes += isInBurst ? 1 : 0;
        }
    }
    EXPECT_GT(longOnes, 1000);
}

TEST(BurstsTest, ATimeHasWhatLiesInItInPart) {
    const auto state = Bursting(1);
    const SchedSpan burst = BurstsOf(*state, {0, kMinuteUs})[4].span;
    const auto count = [&](const SchedSpan& span) { return BurstsOf(*state, span).size(); };
    EXPECT_GE(count({burst.fromUs, burst.fromUs + 1}), 1U);
    EXPECT_GE(count({burst.toUs - 1, burst.toUs}), 1U);
    EXPECT_EQ(count({burst.fromUs, burst.fromUs}), 0U);
    const auto before = BurstsOf(*state, {0, burst.fromUs});
    const auto behind = BurstsOf(*state, {burst.toUs, kMinuteUs});
    const auto isIt = [&](const KnownBurst& other) { return other.span.fromUs == burst.fromUs; };
    EXPECT_TRUE(std::none_of(before.begin(), before.end(), isIt));
    EXPECT_TRUE(std::none_of(behind.begin(), behind.end(), isIt));
}

TEST(BurstsTest, ArePrintedTheFirstFirst) {
    const auto state = Bursting(1);
    std::string expected = "begin_us,end_us,kind,name\n";
    std::uint64_t last = 0;
    for (const KnownBurst& burst : BurstsOf(*state, {0, 5000000})) {
        EXPECT_GE(burst.span.fromUs, last);
        last = burst.span.fromUs;
        expected += std::to_string(last) + "," + std::to_string(burst.span.toUs) + "," +
                    (burst.isMasters    ? "master,sdma"
                     : burst.index == 0 ? "task,follower"
                                        : "task,other") +
                    "\n";
    }
    EXPECT_EQ(BurstsText(*state, {0, 5000000}), expected);
}

}  // namespace
}  // namespace zarn::board
