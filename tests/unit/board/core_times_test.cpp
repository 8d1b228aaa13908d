#include "board/model/core_times.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "board/server/sched_truth.h"
#include "tests/unit/board/sched_tasks.h"

namespace zarn::board {
namespace {

SchedTask Task(std::uint32_t periodUs, std::uint32_t runUs, std::uint32_t affinity,
               std::int32_t nice = 0) {
    SchedTask task = TaskOf(periodUs, runUs, affinity);
    task.nice = nice;
    task.jitter = 0.3;
    return task;
}

// On each core other tasks, so that it is known what each core is busy with.
SchedPlan ThreeCores() {
    return PlanOf(3, {Task(7000, 2000, 0x1), Task(9000, 3000, 0x1, 5), Task(0, 5000, 0x2, 19),
                      Task(33000, 11000, 0x4)});
}

constexpr std::uint64_t kSeed = 11;
constexpr std::uint64_t kTicks = 1000;

TEST(CoreTimesTest, EachTickIsOneAndNoneGoesBack) {
    CoreTimes times(ThreeCores(), kSeed);
    std::vector<CoreTicks> last = times.Cores();
    for (std::uint64_t tick = 1; tick <= kTicks; ++tick) {
        times.Advance(tick);
        for (std::size_t core = 0; core < last.size(); ++core) {
            const CoreTicks& now = times.Cores()[core];
            EXPECT_EQ(now.user + now.nice + now.idle, tick);
            EXPECT_TRUE(now.user >= last[core].user && now.nice >= last[core].nice &&
                        now.idle >= last[core].idle)
                << tick;
        }
        last = times.Cores();
    }
}

TEST(CoreTimesTest, NoCountIsATickAndAHalfFromTheTruth) {
    const SchedPlan plan = ThreeCores();
    CoreTimes times(plan, kSeed);
    for (std::uint64_t tick = 1; tick <= kTicks; ++tick) {
        times.Advance(tick);
        const auto truth = SchedTruthOf(plan, kSeed, {0, tick * kClockTickUs});
        const auto expectNear = [tick](std::uint64_t ticks, std::uint64_t us) {
            EXPECT_LT(std::abs(static_cast<double>(ticks) - static_cast<double>(us) / 1e4), 1.5)
                << tick;
        };
        expectNear(times.Cores()[0].user, truth[0].runUs);
        expectNear(times.Cores()[0].nice, truth[1].runUs);
        expectNear(times.Cores()[1].nice, truth[2].runUs);
        expectNear(times.Cores()[2].user, truth[3].runUs);
        tick += tick % 7 * 13;
    }
}

TEST(CoreTimesTest, WhenItIsLookedAtChangesNothing) {
    CoreTimes often(ThreeCores(), kSeed);
    CoreTimes once(ThreeCores(), kSeed);
    for (std::uint64_t tick = 0; tick < kTicks; tick += 3) {
        often.Advance(tick);
        often.Advance(tick / 2);
    }
    often.Advance(kTicks);
    once.Advance(kTicks);
    for (std::size_t core = 0; core < 3; ++core) {
        EXPECT_EQ(often.Cores()[core].user, once.Cores()[core].user);
        EXPECT_EQ(often.Cores()[core].nice, once.Cores()[core].nice);
    }
    EXPECT_EQ(often.Switches(), once.Switches());
    EXPECT_EQ(often.Running(), once.Running());
}

TEST(CoreTimesTest, CountsSwitchesAndTheCoresThatRun) {
    const SchedPlan plan = ThreeCores();
    CoreTimes times(plan, kSeed);
    EXPECT_EQ(times.Running(), 0U);
    times.Advance(kTicks);
    std::uint64_t switches = 0;
    for (const SchedEvent& event : EventsIn(plan, kSeed, {0, kTicks * kClockTickUs})) {
        switches += event.kind == SchedEventKind::kSwitch ? 1 : 0;
    }
    EXPECT_EQ(times.Switches(), switches);
    const auto running = RunningAt(plan, kSeed, kTicks * kClockTickUs);
    EXPECT_EQ(times.Running(),
              running.size() - static_cast<std::size_t>(std::count(running.begin(), running.end(),
                                                                   SchedEvent::kIdleTask)));
}

TEST(CoreTimesTest, ACoreThatHasNothingToDoIdles) {
    CoreTimes times(PlanOf(1, {}), kSeed);
    times.Advance(kTicks);
    EXPECT_EQ(times.Cores()[0].idle, kTicks);
    EXPECT_EQ(times.Switches(), 0U);
}

}  // namespace
}  // namespace zarn::board
