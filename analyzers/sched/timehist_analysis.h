#pragma once

#include "analyzers/sched/sched_source.h"

// Analyses of a target's history. What fails prints its lines and leaves the other steps alone.
namespace zarn {

// Writes a document of the rows that ran longest without a break; those above the threshold are
// followed up by a log of what the recording tells of their core.
[[nodiscard]] bool AnalyzeTimehist(const SchedContext& context, const SchedSource& source);

// The same for a process, and before it a document of the rows that waited longest for a core, and
// the logs and documents of their threads.
[[nodiscard]] bool AnalyzeProcessTimehist(const SchedContext& context, const SchedSource& source);

}  // namespace zarn
