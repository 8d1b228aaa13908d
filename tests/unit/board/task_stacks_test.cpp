#include "board/setup/task_stacks.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "board/setup/scenario_parser.h"
#include "board/state/board_state.h"

namespace zarn::board {
namespace {

using testing::ElementsAre;

std::string Read(const std::string& members, BoardState& state) {
    return ParseScenario(
               R"({"sched": {"processes": [{"name": "a", "run_us": 1000, "period_us": 5000)" +
                   (members.empty() ? "" : ", " + members) + "}]}}",
               state)
        .value_or("taken");
}

std::vector<std::string> Functions(const SchedPlan& plan) {
    std::vector<std::string> names;
    for (std::uint32_t i = 0; i < plan.functionCount; ++i) {
        names.emplace_back(plan.functions[i].data());
    }
    return names;
}

// A stack as text.
std::string StackText(const SchedPlan& plan, const TaskStack& stack) {
    std::string text = std::to_string(stack.share);
    for (std::uint32_t i = 0; i < stack.callCount; ++i) {
        text += std::string(" ") + plan.functions[stack.calls[i]].data();
    }
    return text;
}

TEST(TaskStacks, AreFunctionsFromTheOutermostOnAndShares) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(Read(R"("stacks": [{"share": 3, "calls": ["loop", "plan", "expand"]},
                                 {"share": 1.5, "calls": ["loop", "publish"]}])",
                   *state),
              "taken");
    const SchedPlan& plan = state->scenario.sched;
    EXPECT_THAT(Functions(plan), ElementsAre("main", "loop", "plan", "expand", "publish"));
    const SchedTask& task = plan.tasks[0];
    ASSERT_EQ(task.stackCount, 2U);
    EXPECT_EQ(StackText(plan, task.stacks[0]), "3.000000 loop plan expand");
    EXPECT_EQ(StackText(plan, task.stacks[1]), "1.500000 loop publish");
}

TEST(TaskStacks, ATaskWithoutAnyIsInMain) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(Read("", *state), "taken");
    EXPECT_THAT(Functions(state->scenario.sched), ElementsAre("main"));
    EXPECT_EQ(state->scenario.sched.tasks[0].stackCount, 0U);
}

TEST(TaskStacks, AThreadTakesThemOverOrHasItsOwn) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(Read(R"("stacks": [{"share": 1, "calls": ["one"]}, {"share": 2, "calls": ["two"]}],
        "threads": [{}, {"stacks": [{"share": 5, "calls": ["one", "main"]}]}, {"stacks": []}])",
                   *state),
              "taken");
    const SchedPlan& plan = state->scenario.sched;
    EXPECT_EQ(plan.tasks[1].stackCount, 2U);
    ASSERT_EQ(plan.tasks[2].stackCount, 1U);
    EXPECT_EQ(StackText(plan, plan.tasks[2].stacks[0]), "5.000000 one main");
    EXPECT_EQ(plan.tasks[3].stackCount, 0U);
    EXPECT_THAT(Functions(plan), ElementsAre("main", "one", "two"));
}

TEST(TaskStacks, RefusesWhatIsNone) {
    const std::string at = "sched.processes[0].stacks";
    const std::string names =
        at + "[0].calls: expected names of functions, 1 to 31 of A-Z, a-z, 0-9, _ and -";
    const std::pair<std::string, std::string> cases[] = {
        {R"([{"share": 1}])", at + "[0].calls: expected a function at least"},
        {R"([{"share": 1, "calls": []}])", at + "[0].calls: expected a function at least"},
        {R"([{"share": 1, "calls": [1]}])", names},
        {R"([{"share": 1, "calls": [""]}])", names},
        {R"([{"share": 1, "calls": ["a b"]}])", names},
        {R"([{"share": 1, "calls": [")" + std::string(32, 'x') + "\"]}]", names},
        {R"([{"calls": ["a"]}, {"share": 0, "calls": ["b"]}])", at + ": expected a share above 0"},
        {R"([{"share": -1, "calls": ["a"]}])", at + "[0].share: expected a number from 0 to 1e+06"},
        {R"([{"share": 1, "calls": ["a"], "more": 1}])", at + "[0].more: unknown"},
    };
    for (const auto& [stacks, reason] : cases) {
        const auto state = std::make_unique<BoardState>();
        EXPECT_EQ(Read("\"stacks\": " + stacks, *state), reason);
    }
}

TEST(TaskStacks, RefusesMoreFunctionsThanAPlanHolds) {
    const auto state = std::make_unique<BoardState>();
    std::string threads;
    for (int thread = 0; thread < 8; ++thread) {
        std::string calls;
        for (int i = 0; i < 8; ++i) {
            calls += (i == 0 ? "\"f" : ",\"f") + std::to_string(thread * 8 + i) + "\"";
        }
        threads +=
            (thread == 0 ? "" : ",") + (R"({"stacks": [{"share": 1, "calls": [)" + calls) + "]}]}";
    }
    EXPECT_EQ(Read("\"threads\": [" + threads + "]", *state),
              "sched: expected at most 64 functions in all");
}

}  // namespace
}  // namespace zarn::board
