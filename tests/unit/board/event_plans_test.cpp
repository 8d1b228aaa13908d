#include "board/setup/event_plans.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "board/setup/scenario_parser.h"
#include "board/state/board_state.h"

namespace zarn::board {
namespace {

std::string WithPrograms(const std::string& scheduler) {
    return R"({"programs": [{"name": "camera"}, {"name": "planner", "threads": 3}],
               "event_scheduler": )" +
           scheduler + "}";
}

TEST(ReadEventPlan, TakesGroupsThreadsAndEvents) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(WithPrograms(R"({
        "pool": 16, "memory_part": 0.25, "wakeup_us": 1, "publish_kernel_us": 2,
        "publish_syscall_us": 3, "thresholds_us": {"run": 11, "publish_kernel": 12,
        "publish_subscribe": 13, "publish_syscall": 14, "wakeup": 15},
        "groups": [{"program": "planner", "gid": 12, "priority": 5, "threads": [{"core": 2}]},
                   {"program": "planner", "gid": 13, "threads": [{"core": 3, "slow": 4}]}],
        "events": [{"id": 17, "thread": "planner_1", "publisher": "camera", "rate": 2.5,
                    "run_us": 350},
                   {"id": 18, "thread": "planner_0", "rate": 1}]})"),
                            *state)
                  .value_or("taken"),
              "taken");
    const EventPlan& plan = state->scenario.events;
    EXPECT_EQ(plan.pool, 16U);
    EXPECT_EQ(plan.memoryPart, 0.25);
    EXPECT_EQ(plan.wakeupUs, 1U);
    EXPECT_EQ(plan.kernelUs, 2U);
    EXPECT_EQ(plan.syscallUs, 3U);
    EXPECT_EQ(plan.thresholdUs[static_cast<std::size_t>(EventList::kRun)], 11U);
    EXPECT_EQ(plan.thresholdUs[static_cast<std::size_t>(EventList::kKernel)], 12U);
    EXPECT_EQ(plan.thresholdUs[static_cast<std::size_t>(EventList::kSubscribe)], 13U);
    EXPECT_EQ(plan.thresholdUs[static_cast<std::size_t>(EventList::kSyscall)], 14U);
    EXPECT_EQ(plan.thresholdUs[static_cast<std::size_t>(EventList::kWakeup)], 15U);
    ASSERT_EQ(plan.groupCount, 2U);
    EXPECT_EQ(plan.groups[0].program, 1U);
    EXPECT_EQ(plan.groups[0].gid, 12U);
    EXPECT_EQ(plan.groups[0].priority, 5U);
    ASSERT_EQ(plan.threadCount, 2U);
    EXPECT_EQ(plan.threads[0].number, 0U);
    EXPECT_EQ(plan.threads[1].number, 1U);
    EXPECT_EQ(plan.threads[1].group, 1U);
    EXPECT_EQ(plan.threads[1].core, 3U);
    EXPECT_EQ(plan.threads[1].slow, 4.0);
    ASSERT_EQ(plan.kindCount, 2U);
    EXPECT_EQ(plan.kinds[0].id, 17U);
    EXPECT_EQ(plan.kinds[0].thread, 1U);
    EXPECT_EQ(plan.kinds[0].publisher, 0U);
    EXPECT_EQ(plan.kinds[0].ratePerS, 2.5);
    EXPECT_EQ(plan.kinds[0].runUs, 350U);
    EXPECT_EQ(plan.kinds[1].publisher, EventKind::kByKernel);
}

TEST(ReadEventPlan, WithoutTheMemberThereAreNoEvents) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_FALSE(ParseScenario("{}", *state));
    EXPECT_EQ(state->scenario.events.kindCount, 0U);
    EXPECT_GT(state->scenario.events.pool, 0U);
}

struct BadPlan {
    const char* scheduler;
    const char* reason;  // behind "event_scheduler."
};

class ReadEventPlanRefuses : public testing::TestWithParam<BadPlan> {};

TEST_P(ReadEventPlanRefuses, AndSaysWhereAndWhatItExpected) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(WithPrograms(GetParam().scheduler), *state).value_or("taken"),
              "event_scheduler." + std::string(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadEventPlanRefuses,
    testing::Values(
        BadPlan{R"({"rate": 1})", "rate: unknown"},
        BadPlan{R"({"memory_part": 1.5})", "memory_part: expected a number from 0 to 1"},
        BadPlan{R"({"thresholds_us": {"runs": 1}})", "thresholds_us.runs: unknown"},
        BadPlan{R"({"groups": [{"program": "radar"}]})",
                "groups[0].program: expected the name of a program"},
        BadPlan{R"({"groups": [{"program": "planner"}]})",
                "groups[0].gid: expected a number of its own from 1 on"},
        BadPlan{
            R"({"groups": [{"program": "planner", "gid": 1}, {"program": "camera", "gid": 1}]})",
            "groups[1].gid: expected a number of its own from 1 on"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{"core": 0}]}]})",
                "groups[0].threads[0].core: expected a core from 1 to 3"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{"core": 4}]}]})",
                "groups[0].threads[0].core: expected a whole number from 0 to 3"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}, {}]}]})",
                "groups[0].threads: expected no more threads than the program has"},
        BadPlan{R"({"events": [{"id": 1, "thread": "camera_0", "rate": 1}]})",
                "events[0].thread: expected a thread of a group, PROGRAM_NUMBER"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}]}],
                    "events": [{"id": 1, "thread": "camera_0"}]})",
                "events[0].rate: expected events per second, at most 20000 in all"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}]}],
                    "events": [{"id": 1, "thread": "camera_0", "rate": 0}]})",
                "events[0].rate: expected a number from 0.001 to 20000"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}]}],
                    "events": [{"id": 1, "thread": "camera_0", "rate": 15000},
                               {"id": 2, "thread": "camera_0", "rate": 5001}]})",
                "events[1].rate: expected events per second, at most 20000 in all"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}]}],
                    "events": [{"id": 1, "thread": "camera_0", "rate": 1},
                               {"id": 1, "thread": "camera_0", "rate": 1}]})",
                "events[1].id: expected a number of its own"},
        BadPlan{R"({"groups": [{"program": "camera", "gid": 1, "threads": [{}]}],
                    "events": [{"id": 1, "thread": "camera_0", "rate": 1, "publisher": "x"}]})",
                "events[0].publisher: expected the name of a program"}));

}  // namespace
}  // namespace zarn::board
