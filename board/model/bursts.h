#pragma once

#include <cstdint>
#include <vector>

#include "board/model/demand.h"
#include "board/model/masters.h"
#include "board/model/sched_model.h"

// When what bursts: the bus masters, and the tasks of the scheduler, of themselves or with a
// master.
namespace zarn::board {

// The burst of a task in one stretch of its bursts, counted from 0. It is empty if it has none.
[[nodiscard]] SchedSpan TaskBurst(const SchedBurst& burst, std::uint64_t seed, std::uint32_t task,
                                  std::uint64_t stretch);

// Whether one lasts.
[[nodiscard]] bool IsInTaskBurst(const SchedBurst& burst, std::uint64_t seed, std::uint32_t task,
                                 std::uint64_t timeUs);

// A burst and whose it is.
struct KnownBurst {
    SchedSpan span;
    bool isMasters = false;
    std::uint32_t index = 0;  // in kMasters or in the plan's tasks
};

// All bursts that lie in a time as a whole or in part, the first to begin first.
[[nodiscard]] std::vector<KnownBurst> BurstsIn(const PerMaster<MasterDemand>& demands,
                                               const SchedPlan& plan, std::uint64_t seed,
                                               const SchedSpan& span);

}  // namespace zarn::board
