#pragma once

#include "board/model/sched_plan.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Makes the function of tasks that name none, `main`, the plan's only one.
void AddUsualFunction(SchedPlan& plan);

// Reads the member `stacks` of a task (docs/board.md), if it is there, in place of those that the
// task had; functions that are new join the plan's. Refused besides what Fields refuses: a stack
// without a function, names that are none, more functions than a plan holds, and shares of which
// none is above 0.
void ReadStacks(Fields& fields, SchedPlan& plan, SchedTask& task);

}  // namespace zarn::board
