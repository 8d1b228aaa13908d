#include "board/server/sched_truth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

// One task for ever, and one that runs 300 us of each millisecond, before the other.
std::unique_ptr<BoardState> TwoOnACore() {
    auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(R"({"sched": {"cores": 1, "processes": [
                  {"name": "busy", "run_us": 1000},
                  {"name": "often", "policy": "fifo", "priority": 1, "period_us": 1000,
                   "run_us": 300}]}})",
                            *state)
                  .value_or("taken"),
              "taken");
    state->seed = 1;
    state->startNs = 5000000000000;
    return state;
}

// A delay of the busy one, which the other one makes.
SchedDelay DelayOfTheBusyOne(const BoardState& state) {
    const auto delays = DelaysIn(state.scenario.sched, state.seed, {100000, 102000});
    return *std::find_if(delays.begin(), delays.end(),
                         [](const SchedDelay& delay) { return delay.task == 0; });
}

TEST(SchedTruthTest, CountsWhatLiesInTheTime) {
    const auto state = TwoOnACore();
    const auto truth = SchedTruthOf(state->scenario.sched, 1, {100000, 200000});
    EXPECT_EQ(truth[0].runUs, 70000U);
    EXPECT_EQ(truth[1].runUs, 30000U);
    EXPECT_EQ(truth[0].switches, 100U);
    EXPECT_EQ(truth[1].switches, 100U);
    EXPECT_EQ(truth[1].delayUs, 0U);
    EXPECT_EQ(truth[0].longest.toUs - truth[0].longest.fromUs, 300U);
}

TEST(SchedTruthTest, ADelayThatBeganBeforeIsNone) {
    const auto state = TwoOnACore();
    const SchedPlan& plan = state->scenario.sched;
    const SchedDelay delay = DelayOfTheBusyOne(*state);
    ASSERT_EQ(delay.toUs - delay.fromUs, 300U);
    const SchedSpan whole{delay.fromUs, delay.toUs + 1};
    const SchedSpan cut{delay.fromUs + 1, delay.toUs + 1};
    EXPECT_EQ(SchedTruthOf(plan, 1, whole)[0].delayUs, 300U);
    EXPECT_EQ(SchedTruthOf(plan, 1, cut)[0].delayUs, 0U);
    EXPECT_EQ(SchedTruthOf(plan, 1, cut)[0].switches, 1U);
    EXPECT_EQ(SchedTruthOf(plan, 1, cut)[1].runUs, 299U);
}

TEST(SchedTruthTest, IsPrintedWithStampsOfTheMachine) {
    const auto state = TwoOnACore();
    state->schedTids[0] = 77;
    state->schedTids[1] = 79;
    const SchedDelay delay = DelayOfTheBusyOne(*state);
    const std::string from = std::to_string(delay.fromUs);
    const std::string to = std::to_string(delay.toUs);
    EXPECT_EQ(SchedTruthText(*state, {delay.fromUs, delay.fromUs + 1000}),
              "task,pid,tid,runtime_ms,switches,delay_ms,mean_delay_ms,max_delay_ms,"
              "max_delay_start_s,max_delay_end_s\n"
              "busy,77,77,0.700,1,0.300,0.300,0.300,5000." +
                  std::string(6 - from.size(), '0') + from + ",5000." +
                  std::string(6 - to.size(), '0') + to +
                  "\n"
                  "often,79,79,0.300,1,0.000,0.000,0.000,0.000000,0.000000\n");
}

}  // namespace
}  // namespace zarn::board
