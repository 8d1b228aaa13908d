#include "board/state/sched_tasks.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kFirstTid = 1000;
constexpr std::uint64_t kNsPerUs = 1000;

}  // namespace

std::uint32_t SchedTid(const BoardState& state, std::size_t task) {
    const std::int32_t tid = state.schedTids[task];
    return tid > 0 ? static_cast<std::uint32_t>(tid) : kFirstTid + static_cast<std::uint32_t>(task);
}

std::uint32_t SchedPid(const BoardState& state, std::size_t task) {
    const SchedPlan& plan = state.scenario.sched;
    return SchedTid(state, plan.processes[plan.tasks[task].process].firstTask);
}

std::uint64_t UptimeUs(const BoardState& state, std::uint64_t boardUs) {
    return state.startNs / kNsPerUs + boardUs;
}

}  // namespace zarn::board
