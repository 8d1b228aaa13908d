#pragma once

#include <string>

#include "board/perf/sched_record.h"

namespace zarn::board {

// The lines of `perf sched script`: one for each event, and with call chains a line for each call
// below it.
[[nodiscard]] std::string SchedScript(const SchedRecord& record);

}  // namespace zarn::board
