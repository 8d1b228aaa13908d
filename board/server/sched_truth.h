#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "board/model/sched_model.h"
#include "board/state/board_state.h"

namespace zarn::board {

// What a task did in a time. A delay counts if it lies in the time as a whole; a task that comes to
// a core after a longer one is one that did not wait, since nobody who looks then can know better.
struct TaskTruth {
    std::uint64_t runUs = 0;
    std::uint64_t switches = 0;  // to it
    std::uint64_t delayUs = 0;   // all together
    SchedDelay longest;
};

[[nodiscard]] std::array<TaskTruth, kMaxSchedTasks> SchedTruthOf(const SchedPlan& plan,
                                                                 std::uint64_t seed,
                                                                 const SchedSpan& span);

// The same as a table, for those who check what they have read.
[[nodiscard]] std::string SchedTruthText(const BoardState& state, const SchedSpan& span);

}  // namespace zarn::board
