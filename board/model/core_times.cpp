#include "board/model/core_times.h"

#include <algorithm>

namespace zarn::board {

CoreTimes::CoreTimes(const SchedPlan& plan, std::uint64_t seed)
    : plan_(plan), simulation_(plan, seed), cores_(plan.cores), ticks_(plan.cores) {}

void CoreTimes::Advance(std::uint64_t ticks) {
    const SchedSimulation::Sink sink = [this](const SchedEvent& event) {
        if (event.kind == SchedEventKind::kSwitch) {
            Core& core = cores_[event.core];
            CountUntil(core, event.timeUs);
            core.running = event.task;
            ++switches_;
        }
    };
    for (; done_ < ticks; ++done_) {
        const std::uint64_t endUs = (done_ + 1) * kClockTickUs;
        simulation_.Advance(endUs, sink);
        for (std::uint32_t i = 0; i < plan_.cores; ++i) {
            CountUntil(cores_[i], endUs);
            TakeTick(cores_[i], ticks_[i]);
        }
    }
}

std::uint32_t CoreTimes::Running() const {
    const auto isBusy = [](const Core& core) { return core.running != SchedEvent::kIdleTask; };
    return static_cast<std::uint32_t>(std::count_if(cores_.begin(), cores_.end(), isBusy));
}

void CoreTimes::CountUntil(Core& core, std::uint64_t timeUs) const {
    const auto passedUs = static_cast<std::int64_t>(timeUs - core.sinceUs);
    core.sinceUs = timeUs;
    if (core.running == SchedEvent::kIdleTask) {
        core.idleUs += passedUs;
    } else if (plan_.tasks[core.running].nice > 0) {
        core.niceUs += passedUs;
    } else {
        core.userUs += passedUs;
    }
}

void CoreTimes::TakeTick(Core& core, CoreTicks& ticks) {
    const std::int64_t mostUs = std::max({core.userUs, core.niceUs, core.idleUs});
    constexpr auto kTick = static_cast<std::int64_t>(kClockTickUs);
    if (core.userUs == mostUs) {
        core.userUs -= kTick;
        ++ticks.user;
    } else if (core.niceUs == mostUs) {
        core.niceUs -= kTick;
        ++ticks.nice;
    } else {
        core.idleUs -= kTick;
        ++ticks.idle;
    }
}

}  // namespace zarn::board
