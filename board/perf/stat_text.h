#pragma once

#include <string>

#include "board/perf/perf_call.h"
#include "board/state/cpu_observation.h"

// What `perf stat` writes of counters, in its form with a separator. Pure functions.
namespace zarn::board {

// What stands above the rows of a file; `when` is the time of day as perf writes it.
[[nodiscard]] std::string StatHead(const std::string& when);

// What a call looks at: the processes alone if there are any.
[[nodiscard]] CpuTarget TargetOf(const BoardState& state, const PerfCall& call,
                                 std::uint32_t programs);

// The rows of a stretch of time, one for each event. `startMs` is when the counting began, from
// which the first column counts, if the call asks for intervals. The caller holds the board's lock,
// or owns the state.
[[nodiscard]] std::string StatRows(const BoardState& state, const PerfCall& call,
                                   const CpuTarget& target, std::uint64_t startMs,
                                   const BoardSpan& span);

}  // namespace zarn::board
