#include "board/setup/sched_plans.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "board/setup/scenario_parser.h"
#include "board/state/board_state.h"

namespace zarn::board {
namespace {

std::string Read(const std::string& sched, BoardState& state) {
    return ParseScenario(R"({"sched": )" + sched + "}", state).value_or("taken");
}

std::string WithProcess(const std::string& members) {
    return R"({"processes": [{"name": "a", "run_us": 1000, "period_us": 5000)" +
           (members.empty() ? "" : ", " + members) + "}]}";
}

TEST(ReadSchedPlan, TakesProcessesWithTheirThreads) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(Read(R"({"cores": 6, "processes": [
        {"name": "one"},
        {"name": "two", "policy": "rr", "priority": 7, "affinity": [1, 5], "period_us": 5000,
         "run_us": 2000, "jitter": 0.25, "burst": {"every_ms": 100, "length_ms": 20, "factor": 2},
         "locks": [{"name": "x", "after_us": 10, "hold_us": 20}, {"name": "y", "after_us": 30, "hold_us": 5}],
         "threads": [{"name": "a b:(c).d", "policy": "batch", "nice": -3, "count": 2
},
                     {"run_us": 3000, "locks": [{"name": "y", "after_us": 1, "hold_us": 2}]}]
}]
})",
                   *state),
              "taken");
    const SchedPlan& plan = state->scenario.sched;
    EXPECT_EQ(plan.cores, 6U);
    ASSERT_EQ(plan.processCount, 2U);
    EXPECT_STREQ(plan.processes[1].name.data(), "two");
    EXPECT_EQ(plan.processes[1].firstTask, 1U);
    EXPECT_EQ(plan.processes[1].taskCount, 4U);
    ASSERT_EQ(plan.taskCount, 5U);
    EXPECT_STREQ(plan.tasks[0].name.data(), "one");
    EXPECT_EQ(plan.tasks[0].affinity, 0x3FU);
    EXPECT_EQ(plan.tasks[0].runUs, 0U);
    const SchedTask& two = plan.tasks[1];
    EXPECT_STREQ(two.name.data(), "two");
    EXPECT_EQ(two.process, 1U);
    EXPECT_EQ(two.policy, SchedPolicy::kRoundRobin);
    EXPECT_EQ(two.priority, 7U);
    EXPECT_EQ(two.affinity, 0x22U);
    EXPECT_EQ(two.periodUs, 5000U);
    EXPECT_EQ(two.runUs, 2000U);
    EXPECT_EQ(two.jitter, 0.25);
    EXPECT_EQ(two.burst.everyMs, 100U);
    EXPECT_EQ(two.burst.lengthMs, 20U);
    EXPECT_EQ(two.burst.factor, 2.0);
    ASSERT_EQ(two.lockUseCount, 2U);
    EXPECT_EQ(two.lockUses[1].lock, 1U);
    EXPECT_EQ(two.lockUses[1].afterUs, 30U);
    EXPECT_EQ(two.lockUses[1].holdUs, 5U);
    EXPECT_STREQ(plan.tasks[2].name.data(), "a b:(c).d");
    EXPECT_EQ(plan.tasks[3].policy, SchedPolicy::kBatch);
    EXPECT_EQ(plan.tasks[3].priority, 0U);
    EXPECT_EQ(plan.tasks[3].nice, -3);
    EXPECT_EQ(plan.tasks[3].runUs, 2000U);
    EXPECT_STREQ(plan.tasks[4].name.data(), "two");
    EXPECT_EQ(plan.tasks[4].runUs, 3000U);
    ASSERT_EQ(plan.tasks[4].lockUseCount, 1U);
    EXPECT_EQ(plan.tasks[4].lockUses[0].lock, 1U);
}

TEST(ReadSchedPlan, AScenarioWithoutItHasNoCores) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario("{}", *state).value_or("taken"), "taken");
    EXPECT_EQ(state->scenario.sched.cores, 0U);
    EXPECT_EQ(Read("{}", *state), "taken");
    EXPECT_EQ(state->scenario.sched.cores, 4U);
    EXPECT_EQ(state->scenario.sched.taskCount, 0U);
}

TEST(ReadSchedPlan, ABurstFollowsABusMasterUnlessAThreadHasItsOwn) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(
        ParseScenario(R"({"masters": {"aic_dat": {"burst": {"every_ms": 900, "length_ms": 300}}},
        "sched": {"processes": [{"name": "a", "burst": {"follows": "aic_dat", "factor": 3},
            "threads": [{"name": "same", "burst": {"factor": 2}},
                        {"name": "own", "burst": {"every_ms": 50, "length_ms": 9}}]}]}})",
                      *state)
            .value_or("taken"),
        "taken");
    const auto& tasks = state->scenario.sched.tasks;
    for (const std::size_t follower : {0U, 1U}) {
        EXPECT_EQ(tasks[follower].burst.master, 4U);
        EXPECT_EQ(tasks[follower].burst.everyMs, 900U);
        EXPECT_EQ(tasks[follower].burst.lengthMs, 300U);
    }
    EXPECT_EQ(tasks[1].burst.factor, 2.0);
    EXPECT_EQ(tasks[2].burst.master, SchedBurst::kOwn);
}

TEST(ReadSchedPlan, TellsWhatIsWrong) {
    const std::string lock = R"({"name": "x", "after_us": )";
    const std::vector<std::pair<std::string, std::string>> cases{
        {R"({"cores": 0})", "sched.cores: expected a core at least"},
        {R"({"cores": 33})", "sched.cores: expected a whole number from 0 to 32"},
        {R"({"other": 1})", "sched.other: unknown"},
        {WithProcess(R"("other": 1)"), "sched.processes[0].other: unknown"},
        {R"({"processes": [{"name": "a b"}]})",
         "sched.processes[0].name: expected a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ and -"},
        {R"({"processes": [{"name": "a"}, {"name": "a"}]})",
         "sched.processes[1].name: expected a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ and -"},
        {WithProcess(R"("policy": "deadline")"),
         "sched.processes[0].policy: expected other, batch, idle, fifo or rr"},
        {WithProcess(R"("priority": 4)"),
         "sched.processes[0].priority: expected 1 to 99 with the policies fifo and rr, else none"},
        {WithProcess(R"("policy": "fifo")"),
         "sched.processes[0].priority: expected 1 to 99 with the policies fifo and rr, else none"},
        {WithProcess(R"("nice": 20)"), "sched.processes[0].nice: expected -20 to 19"},
        {WithProcess(R"("nice": -21)"), "sched.processes[0].nice: expected -20 to 19"},
        {WithProcess(R"("affinity": [4])"),
         "sched.processes[0].affinity: expected numbers of cores"},
        {WithProcess(R"("affinity": [])"), "sched.processes[0].affinity: expected a core at least"},
        {R"({"processes": [{"name": "a", "run_us": 99}]})",
         "sched.processes[0].run_us: expected 100 us at least"},
        {R"({"processes": [{"name": "a", "run_us": 1, "period_us": 99}]})",
         "sched.processes[0].period_us: expected 100 us at least"},
        {WithProcess(R"("burst": {"every_ms": 5, "length_ms": 6})"),
         "sched.processes[0].burst.length_ms: expected a whole number from 0 to 5"},
        {WithProcess(
             R"("burst": {"every_ms": 9, "length_ms": 9}, "threads": [{"burst": {"every_ms": 8}}])"),
         "sched.processes[0].threads[0].burst.length_ms: expected no more than every_ms"},
        {WithProcess(R"("burst": {"follows": "aic_dat"})"),
         "sched.processes[0].burst.follows: expected a bus master that has bursts"},
        {WithProcess(R"("burst": {"follows": "gpu"})"),
         "sched.processes[0].burst.follows: expected a bus master that has bursts"},
        {WithProcess(R"("locks": [)" + lock + R"(900, "hold_us": 101}])"),
         "sched.processes[0].locks: expected nothing beyond the run"},
        {WithProcess(R"("locks": [)" + lock + R"(0, "hold_us": 9}, )" + lock + "8}]"),
         "sched.processes[0].locks: expected one after the other"},
        {WithProcess(R"("locks": [{"after_us": 1}])"),
         "sched.processes[0].locks[0].name: expected the name of a lock, at most 8 locks in all"},
        {WithProcess(R"("threads": [{"name": " a"}])"),
         "sched.processes[0].threads[0].name: expected 1 to 15 letters, digits, signs and inner "
         "blanks"},
        {WithProcess(R"("threads": [{"count": 64}])"),
         "sched.processes[0].threads[0].count: expected at most 64 threads in all"},
    };
    for (const auto& [sched, reason] : cases) {
        const auto state = std::make_unique<BoardState>();
        EXPECT_EQ(Read(sched, *state), reason) << sched;
    }
}

TEST(ReadSchedPlan, TakesAsMuchAsThereIsRoomFor) {
    std::string processes;
    for (int i = 0; i < 32; ++i) {
        processes += (i == 0 ? "" : ", ") + (R"({"name": "p)" + std::to_string(i)) +
                     R"(", "threads": [{"name": "twin"}]})";
    }
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(Read(R"({"cores": 32, "processes": [)" + processes + "]}", *state), "taken");
    EXPECT_EQ(state->scenario.sched.taskCount, 64U);
    EXPECT_EQ(state->scenario.sched.tasks[0].affinity, 0xFFFFFFFFU);
}

}  // namespace
}  // namespace zarn::board
