#include "board/model/sched_model.h"

#include <algorithm>
#include <array>
#include <utility>

#include "board/model/sched_engine.h"

namespace zarn::board {

SchedSimulation::SchedSimulation(const SchedPlan& plan, std::uint64_t seed)
    : engine_(std::make_unique<SchedEngine>(plan, seed)) {}

SchedSimulation::~SchedSimulation() = default;

void SchedSimulation::Advance(std::uint64_t untilUs, const Sink& sink) {
    engine_->Advance(untilUs, sink);
}

std::uint32_t SchedSimulation::RunningOn(std::uint32_t core) const {
    return engine_->RunningOn(core);
}

std::vector<std::uint32_t> RunningAt(const SchedPlan& plan, std::uint64_t seed,
                                     std::uint64_t timeUs) {
    SchedSimulation simulation(plan, seed);
    simulation.Advance(timeUs, nullptr);
    std::vector<std::uint32_t> running;
    for (std::uint32_t core = 0; core < plan.cores; ++core) {
        running.push_back(simulation.RunningOn(core));
    }
    return running;
}

std::vector<SchedEvent> EventsIn(const SchedPlan& plan, std::uint64_t seed, const SchedSpan& span) {
    SchedSimulation simulation(plan, seed);
    simulation.Advance(span.fromUs, nullptr);
    std::vector<SchedEvent> events;
    simulation.Advance(span.toUs, [&](const SchedEvent& event) { events.push_back(event); });
    return events;
}

std::optional<SchedDelay> DelayWatch::Take(const SchedEvent& event) {
    if (event.kind == SchedEventKind::kWakeup) {
        readySinceUs_[event.task] = event.timeUs;
        return std::nullopt;
    }
    if (event.kind == SchedEventKind::kMigrate) {
        return std::nullopt;
    }
    if (event.current != SchedEvent::kIdleTask && event.reason == SwitchReason::kPreempted) {
        readySinceUs_[event.current] = event.timeUs;
    }
    if (event.task == SchedEvent::kIdleTask || !readySinceUs_[event.task]) {
        return std::nullopt;
    }
    const std::uint64_t fromUs = *std::exchange(readySinceUs_[event.task], std::nullopt);
    return SchedDelay{event.task, event.core, fromUs, event.timeUs};
}

std::vector<SchedDelay> DelaysIn(const SchedPlan& plan, std::uint64_t seed, const SchedSpan& span) {
    SchedSimulation simulation(plan, seed);
    DelayWatch watch;
    std::vector<SchedDelay> delays;
    simulation.Advance(span.toUs, [&](const SchedEvent& event) {
        const auto delay = watch.Take(event);
        if (delay && delay->toUs >= span.fromUs) {
            delays.push_back(*delay);
        }
    });
    return delays;
}

}  // namespace zarn::board
