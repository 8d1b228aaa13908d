#pragma once

#include "analyzers/sched/sched_source.h"

namespace zarn {

// Follows the first tasks of a latency report up: a log of the threads of each, a log and a
// document of each thread's history, a document of the tasks and their threads. Ends at the first
// step that fails, after its lines; what was written before stays. A thread without a history has
// no log, which is a failure, too, but ends nothing.
[[nodiscard]] bool AnalyzeLatency(const SchedContext& context, const SchedSource& source);

}  // namespace zarn
