#pragma once

#include <string>

#include "board/perf/sched_record.h"

namespace zarn::board {

// The table of `perf sched timehist`: a row for each time that a task leaves a core, with how long
// it was away before, how long of that after its wake-up, and how long it ran. What began before
// the record counts nothing.
[[nodiscard]] std::string TimehistTable(const SchedRecord& record);

}  // namespace zarn::board
