#include "board/model/sched_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/unit/board/sched_tasks.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kIdle = SchedEvent::kIdleTask;
constexpr std::uint64_t kSecondUs = 1000000;

SchedTask RealTime(SchedTask task, std::uint32_t priority,
                   SchedPolicy policy = SchedPolicy::kFifo) {
    task.policy = policy;
    task.priority = priority;
    return task;
}

SchedTask Nice(SchedTask task, std::int32_t nice) {
    task.nice = nice;
    return task;
}

// Tasks of all kinds, more work than some of the cores can do, locks that several use.
SchedPlan Crowd() {
    SchedPlan plan =
        PlanOf(3, {RealTime(TaskOf(5000, 700, 0x1), 50),
                   RealTime(TaskOf(8000, 2500, 0x7), 20, SchedPolicy::kRoundRobin),
                   RealTime(TaskOf(9000, 2000, 0x6), 20, SchedPolicy::kRoundRobin),
                   RealTime(TaskOf(21000, 4000, 0x3), 60), TaskOf(10000, 3000, 0x1),
                   Nice(TaskOf(0, 5000, 0x2), 10), Nice(TaskOf(0, 1000, 0x6), -5),
                   TaskOf(15000, 6000, 0x7), TaskOf(3000, 400, 0x7), TaskOf(50000, 9000, 0x4)});
    plan.tasks[7].policy = SchedPolicy::kBatch;
    plan.tasks[8].policy = SchedPolicy::kIdle;
    for (const std::size_t i : {0U, 3U, 4U, 7U}) {
        plan.tasks[i].jitter = 0.3;
        plan.tasks[i].burst = {500, 100, 3.0};
        plan.tasks[i].lockUseCount = 2;
        plan.tasks[i].lockUses[0] = {0, 100, 300};
        plan.tasks[i].lockUses[1] = {1, 450, 200};
    }
    return plan;
}

// Follows events, and finds what no scheduler may do.
class Follower {
public:
    explicit Follower(const SchedPlan& plan) : plan_(plan), running_(plan.cores, kIdle) {}

    void Take(const SchedEvent& event) {
        if (event.timeUs != nowUs_) {
            CheckMoment();
            PassTo(event.timeUs);
        }
        EXPECT_EQ(event.current, running_[event.core]) << "at " << event.timeUs;
        if (event.kind == SchedEventKind::kWakeup) {
            EXPECT_FALSE(IsReady(event.task) || IsRunning(event.task)) << event.timeUs;
            ready_[event.task] = true;
        } else if (event.kind == SchedEventKind::kSwitch) {
            Switch(event);
        } else {
            EXPECT_TRUE(IsReady(event.task)) << event.timeUs;
            EXPECT_NE(event.fromCore, event.toCore);
        }
    }

    void PassTo(std::uint64_t timeUs) {
        for (const std::uint32_t task : running_) {
            (task == kIdle ? idleUs_ : runUs_[task]) += timeUs - nowUs_;
        }
        nowUs_ = timeUs;
    }

    [[nodiscard]] std::uint64_t RunUs(std::uint32_t task) const { return runUs_[task]; }
    [[nodiscard]] std::uint64_t AllUs() const {
        return std::accumulate(runUs_.begin(), runUs_.end(), idleUs_);
    }

private:
    [[nodiscard]] bool IsReady(std::uint32_t task) const { return ready_[task]; }
    [[nodiscard]] bool IsRunning(std::uint32_t task) const {
        return std::count(running_.begin(), running_.end(), task) > 0;
    }
    [[nodiscard]] static std::uint32_t ImportanceOf(const SchedTask& task) {
        return IsRealTime(task.policy) ? task.priority : 0;
    }

    void Switch(const SchedEvent& event) {
        EXPECT_NE(event.current, event.task) << event.timeUs;
        if (event.current != kIdle) {
            ready_[event.current] = event.reason == SwitchReason::kPreempted;
        }
        running_[event.core] = kIdle;
        if (event.task != kIdle) {
            EXPECT_TRUE(IsReady(event.task)) << event.timeUs;
            EXPECT_FALSE(IsRunning(event.task)) << "on two cores at " << event.timeUs;
            EXPECT_NE(plan_.tasks[event.task].affinity & (1U << event.core), 0U) << event.timeUs;
            ready_[event.task] = false;
            running_[event.core] = event.task;
        }
    }

    // Nobody waits who may run on a core that idles or runs somebody less important.
    void CheckMoment() const {
        for (std::uint32_t task = 0; task < plan_.taskCount; ++task) {
            for (std::uint32_t core = 0; core < plan_.cores && IsReady(task); ++core) {
                if ((plan_.tasks[task].affinity & (1U << core)) != 0) {
                    ASSERT_NE(running_[core], kIdle) << task << " waits at " << nowUs_;
                    EXPECT_LE(ImportanceOf(plan_.tasks[task]),
                              ImportanceOf(plan_.tasks[running_[core]]))
                        << task << " waits at " << nowUs_;
                }
            }
        }
    }

    const SchedPlan& plan_;
    std::uint64_t nowUs_ = 0;
    std::uint64_t idleUs_ = 0;
    std::vector<std::uint32_t> running_;
    std::array<bool, kMaxSchedTasks> ready_{};
    std::array<std::uint64_t, kMaxSchedTasks> runUs_{};
};

auto Values(const SchedEvent& event) {
    return std::tuple(event.kind, event.timeUs, event.core, event.current, event.task, event.toCore,
                      event.fromCore, event.reason);
}

auto Values(const SchedDelay& delay) {
    return std::tuple(delay.task, delay.core, delay.fromUs, delay.toUs);
}

template <typename Item>
auto ValuesOf(const std::vector<Item>& items) {
    std::vector<decltype(Values(items.front()))> values;
    std::transform(items.begin(), items.end(), std::back_inserter(values),
                   [](const Item& item) { return Values(item); });
    return values;
}

std::vector<std::uint64_t> RunTimes(const SchedPlan& plan, std::uint64_t untilUs) {
    Follower follower(plan);
    for (const SchedEvent& event : EventsIn(plan, 1, {0, untilUs})) {
        follower.Take(event);
    }
    follower.PassTo(untilUs);
    std::vector<std::uint64_t> times;
    for (std::uint32_t task = 0; task < plan.taskCount; ++task) {
        times.push_back(follower.RunUs(task));
    }
    return times;
}

class SchedModelSeedTest : public testing::TestWithParam<std::uint64_t> {};

TEST_P(SchedModelSeedTest, EachCoreRunsOneTaskThatMayRunThereAndNobodyWaitsForLess) {
    const SchedPlan plan = Crowd();
    const auto events = EventsIn(plan, GetParam(), {0, 5 * kSecondUs});
    EXPECT_GT(events.size(), 10000U);
    Follower follower(plan);
    for (const SchedEvent& event : events) {
        follower.Take(event);
    }
    follower.PassTo(5 * kSecondUs);
    EXPECT_EQ(follower.AllUs(), 3 * 5 * kSecondUs);
}

TEST_P(SchedModelSeedTest, AWindowHasWhatTheWholeTimeHasThere) {
    const SchedPlan plan = Crowd();
    auto whole = EventsIn(plan, GetParam(), {0, 2 * kSecondUs});
    const SchedSpan span{700123, 1300456};
    whole.erase(std::remove_if(whole.begin(), whole.end(),
                               [&](const SchedEvent& event) {
                                   return event.timeUs < span.fromUs || event.timeUs >= span.toUs;
                               }),
                whole.end());
    EXPECT_EQ(ValuesOf(EventsIn(plan, GetParam(), span)), ValuesOf(whole));
}

TEST_P(SchedModelSeedTest, WhoLooksOftenSeesTheSame) {
    const SchedPlan plan = Crowd();
    SchedSimulation simulation(plan, GetParam());
    std::vector<SchedEvent> events;
    for (std::uint64_t us = 0; us <= kSecondUs; us += 125) {
        simulation.Advance(us, [&](const SchedEvent& event) {
            EXPECT_LT(event.timeUs, us);
            events.push_back(event);
        });
        if (us == kSecondUs / 2) {
            for (std::uint32_t core = 0; core < plan.cores; ++core) {
                EXPECT_EQ(simulation.RunningOn(core), RunningAt(plan, GetParam(), us)[core]);
            }
        }
    }
    EXPECT_EQ(ValuesOf(events), ValuesOf(EventsIn(plan, GetParam(), {0, kSecondUs})));
}

TEST_P(SchedModelSeedTest, ADelayLastsFromTheWakeUpOrTheLossOfTheCoreToTheSwitchIn) {
    const SchedPlan plan = Crowd();
    const SchedSpan span{300000, 900000};
    std::array<std::optional<std::uint64_t>, kMaxSchedTasks> since;
    std::vector<SchedDelay> delays;
    for (const SchedEvent& event : EventsIn(plan, GetParam(), {0, span.toUs})) {
        if (event.kind == SchedEventKind::kWakeup) {
            since[event.task] = event.timeUs;
        } else if (event.kind == SchedEventKind::kSwitch) {
            if (event.task != kIdle) {
                if (event.timeUs >= span.fromUs) {
                    delays.push_back({event.task, event.core, *since[event.task], event.timeUs});
                }
                since[event.task].reset();
            }
            if (event.current != kIdle && event.reason == SwitchReason::kPreempted) {
                since[event.current] = event.timeUs;
            }
        }
    }
    EXPECT_EQ(ValuesOf(DelaysIn(plan, GetParam(), span)), ValuesOf(delays));
}

INSTANTIATE_TEST_SUITE_P(Seeds, SchedModelSeedTest, testing::Values(1, 2, 3, 4, 5));

TEST(SchedModelTest, AnotherSeedIsAnotherTime) {
    EXPECT_NE(ValuesOf(EventsIn(Crowd(), 1, {0, 100000})),
              ValuesOf(EventsIn(Crowd(), 2, {0, 100000})));
}

TEST(SchedModelTest, WhoSharesGetsByWeight) {
    const auto times = RunTimes(
        PlanOf(1, {TaskOf(0, 1000, 1), Nice(TaskOf(0, 1000, 1), 5), Nice(TaskOf(0, 1000, 1), -3)}),
        20 * kSecondUs);
    const auto ratio = [&](std::size_t one, std::size_t other) {
        return static_cast<double>(times[one]) / static_cast<double>(times[other]);
    };
    EXPECT_NEAR(ratio(0, 1), 3.05, 0.05);
    EXPECT_NEAR(ratio(2, 0), 1.95, 0.05);
}

TEST(SchedModelTest, TheLastOfThePoliciesGetsWhatIsLeft) {
    SchedPlan plan = PlanOf(1, {TaskOf(0, 1000, 1), TaskOf(0, 1000, 1)});
    plan.tasks[1].policy = SchedPolicy::kIdle;
    const auto times = RunTimes(plan, 10 * kSecondUs);
    EXPECT_LT(times[1], times[0] / 200);
    EXPECT_GT(times[1], 0U);
}

TEST(SchedModelTest, ARealTimeTaskLeavesTheOthersNothing) {
    const auto times =
        RunTimes(PlanOf(1, {RealTime(TaskOf(0, 1000, 1), 1), TaskOf(10000, 10, 1)}), kSecondUs);
    EXPECT_EQ(times[0], kSecondUs);
    EXPECT_EQ(times[1], 0U);
}

TEST(SchedModelTest, EqualPrioritiesTakeTurnsInOnePolicyAloneOfTheTwo) {
    const auto turns =
        RunTimes(PlanOf(1, {RealTime(TaskOf(0, 1000, 1), 9, SchedPolicy::kRoundRobin),
                            RealTime(TaskOf(0, 1000, 1), 9, SchedPolicy::kRoundRobin)}),
                 2 * kSecondUs);
    EXPECT_EQ(turns[0], kSecondUs);
    const auto first =
        RunTimes(PlanOf(1, {RealTime(TaskOf(0, 1000, 1), 9), RealTime(TaskOf(0, 1000, 1), 9)}),
                 2 * kSecondUs);
    EXPECT_EQ(first[0], 2 * kSecondUs);
}

TEST(SchedModelTest, APeriodHasOneRun) {
    SchedTask task = TaskOf(10000, 2000, 1);
    EXPECT_EQ(RunTimes(PlanOf(1, {task}), 10 * kSecondUs)[0], 1000U * 2000U);
    task.jitter = 0.5;
    EXPECT_NEAR(static_cast<double>(RunTimes(PlanOf(1, {task}), 10 * kSecondUs)[0]), 2e6, 6e4);
    // Two runs in three periods if one takes longer than a period.
    const SchedPlan slow = PlanOf(1, {TaskOf(10000, 12000, 1)});
    EXPECT_NEAR(static_cast<double>(RunTimes(slow, 10 * kSecondUs)[0]), 6e6, 12000.0);
}

TEST(SchedModelTest, RunsInABurstTakeLonger) {
    SchedTask task = TaskOf(10000, 2000, 1);
    task.burst = {1000, 250, 3.0};
    EXPECT_NEAR(static_cast<double>(RunTimes(PlanOf(1, {task}), 10 * kSecondUs)[0]), 3e6, 6e4);
}

TEST(SchedModelTest, ATaskWithoutWorkNeverWakesUp) {
    EXPECT_TRUE(
        EventsIn(PlanOf(2, {TaskOf(1000, 0, 3), TaskOf(0, 0, 3)}), 1, {0, kSecondUs}).empty());
}

// The high task needs the lock that the low one holds, which the middle one keeps from its core.
TEST(SchedModelTest, AHighTaskWaitsForALowOneThatHasNoCore) {
    SchedPlan plan =
        PlanOf(1, {RealTime(TaskOf(20000, 1000, 1), 80), RealTime(TaskOf(50000, 15000, 1), 40),
                   RealTime(TaskOf(23000, 3000, 1), 10)});
    plan.tasks[0].lockUseCount = 1;
    plan.tasks[0].lockUses[0] = {0, 200, 300};
    plan.tasks[2].lockUseCount = 1;
    plan.tasks[2].lockUses[0] = {0, 100, 2500};
    std::optional<std::uint64_t> asked;
    std::uint64_t longest = 0;
    for (const SchedEvent& event : EventsIn(plan, 4, {0, 5 * kSecondUs})) {
        if (event.kind == SchedEventKind::kSwitch && event.current == 0 &&
            event.reason == SwitchReason::kWaitsForLock) {
            asked = event.timeUs;
        } else if (event.kind == SchedEventKind::kWakeup && event.task == 0 && asked) {
            EXPECT_EQ(event.current, 2U) << "who leaves the lock wakes up who waits for it";
            longest = std::max(longest, event.timeUs - *asked);
            asked.reset();
        }
    }
    EXPECT_GT(longest, 15000U);
}

// Of those who wait for a lock the most important one is the next.
TEST(SchedModelTest, ALockGoesToTheMostImportantWaiter) {
    SchedPlan plan =
        PlanOf(4, {RealTime(TaskOf(7000, 3000, 1), 10), RealTime(TaskOf(7000, 3000, 2), 30),
                   RealTime(TaskOf(7000, 3000, 4), 20), TaskOf(7000, 3000, 8)});
    std::uint32_t waits = 0;
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        plan.tasks[i].lockUseCount = 1;
        plan.tasks[i].lockUses[0] = {3, 0, 2900};
    }
    std::array<bool, 4> waiting{};
    for (const SchedEvent& event : EventsIn(plan, 2, {0, 5 * kSecondUs})) {
        if (event.kind == SchedEventKind::kSwitch && event.current != kIdle &&
            event.reason == SwitchReason::kWaitsForLock) {
            waiting[event.current] = true;
        } else if (event.kind == SchedEventKind::kWakeup && waiting[event.task]) {
            waiting[event.task] = false;
            ++waits;
            for (std::uint32_t other = 0; other < plan.taskCount; ++other) {
                EXPECT_TRUE(!waiting[other] ||
                            plan.tasks[other].priority <= plan.tasks[event.task].priority);
            }
        }
    }
    EXPECT_GT(waits, 100U);
}

}  // namespace
}  // namespace zarn::board
