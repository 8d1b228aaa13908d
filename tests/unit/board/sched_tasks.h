#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "board/model/sched_plan.h"

// Plans of the board's scheduler, for tests.
namespace zarn::board {

// A task of these times on the cores of a mask, all else as a plan has it by itself.
inline SchedTask TaskOf(std::uint32_t periodUs, std::uint32_t runUs, std::uint32_t affinity) {
    SchedTask task;
    task.periodUs = periodUs;
    task.runUs = runUs;
    task.affinity = affinity;
    return task;
}

// The tasks as those of one process.
inline SchedPlan PlanOf(std::uint32_t cores, const std::vector<SchedTask>& tasks) {
    SchedPlan plan;
    plan.cores = cores;
    plan.processCount = 1;
    plan.processes[0].taskCount = static_cast<std::uint32_t>(tasks.size());
    plan.taskCount = static_cast<std::uint32_t>(tasks.size());
    std::copy(tasks.begin(), tasks.end(), plan.tasks.begin());
    return plan;
}

}  // namespace zarn::board
