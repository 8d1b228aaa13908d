#include "board/model/bursts.h"

#include <algorithm>

namespace zarn::board {
namespace {

// Beside those of the masters and of the scheduler's engine.
constexpr std::uint64_t kTaskBurstStream = 0x5C3;
constexpr std::uint64_t kUsPerMs = 1000;

// A stretch of bursts before `timeUs`; a burst may reach a tick beyond its stretch.
std::uint64_t StretchBefore(std::uint32_t everyMs, std::uint64_t timeUs) {
    const std::uint64_t stretch = timeUs / (everyMs * kUsPerMs);
    return stretch - std::min<std::uint64_t>(stretch, 1 + kTickMs / everyMs);
}

// Adds the bursts of one whose burst in a stretch `burstIn` tells.
template <typename BurstInStretch>
void AddBursts(std::uint32_t everyMs, const SchedSpan& span, KnownBurst known,
               const BurstInStretch& burstIn, std::vector<KnownBurst>& bursts) {
    if (everyMs == 0) {
        return;
    }
    for (std::uint64_t stretch = StretchBefore(everyMs, span.fromUs);
         stretch * everyMs * kUsPerMs < span.toUs; ++stretch) {
        known.span = burstIn(stretch);
        if (known.span.fromUs < known.span.toUs && known.span.toUs > span.fromUs &&
            known.span.fromUs < span.toUs) {
            bursts.push_back(known);
        }
    }
}

SchedSpan MasterBurst(const BurstTimes& times, std::uint64_t seed, std::uint32_t master,
                      std::uint64_t stretch) {
    const TickSpan ticks = BurstOf(times, seed, master, stretch);
    return {ticks.fromMs * kUsPerMs, ticks.toMs * kUsPerMs};
}

}  // namespace

SchedSpan TaskBurst(const SchedBurst& burst, std::uint64_t seed, std::uint32_t task,
                    std::uint64_t stretch) {
    if (burst.master != SchedBurst::kOwn) {
        return MasterBurst({burst.everyMs, burst.lengthMs}, seed, burst.master, stretch);
    }
    const std::uint64_t everyUs = burst.everyMs * kUsPerMs;
    const std::uint64_t lengthUs = burst.lengthMs * kUsPerMs;
    const std::uint64_t fromUs = stretch * everyUs + HashOf(seed, kTaskBurstStream, task, stretch) %
                                                         (everyUs - lengthUs + 1);
    return {fromUs, fromUs + lengthUs};
}

bool IsInTaskBurst(const SchedBurst& burst, std::uint64_t seed, std::uint32_t task,
                   std::uint64_t timeUs) {
    if (burst.master != SchedBurst::kOwn) {
        return IsInBurst({burst.everyMs, burst.lengthMs}, seed, burst.master, timeUs / kUsPerMs);
    }
    if (burst.everyMs == 0) {
        return false;
    }
    const SchedSpan span = TaskBurst(burst, seed, task, timeUs / (burst.everyMs * kUsPerMs));
    return timeUs >= span.fromUs && timeUs < span.toUs;
}

std::vector<KnownBurst> BurstsIn(const PerMaster<MasterDemand>& demands, const SchedPlan& plan,
                                 std::uint64_t seed, const SchedSpan& span) {
    std::vector<KnownBurst> bursts;
    for (std::uint32_t i = 0; i < kMasterCount; ++i) {
        const BurstTimes times = BurstTimesOf(demands[i]);
        AddBursts(
            times.everyMs, span, {{}, true, i},
            [&](std::uint64_t stretch) { return MasterBurst(times, seed, i, stretch); }, bursts);
    }
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        const SchedBurst& burst = plan.tasks[i].burst;
        AddBursts(
            burst.everyMs, span, {{}, false, i},
            [&](std::uint64_t stretch) { return TaskBurst(burst, seed, i, stretch); }, bursts);
    }
    std::stable_sort(bursts.begin(), bursts.end(), [](const KnownBurst& a, const KnownBurst& b) {
        return a.span.fromUs < b.span.fromUs;
    });
    return bursts;
}

}  // namespace zarn::board
