#pragma once

#include <string>
#include <vector>

#include "board/perf/perf_call.h"
#include "board/state/cpu_observation.h"

// What `perf stat` writes of counters, in its form with a separator. Pure functions.
namespace zarn::board {

// What stands above the rows of a file; `when` is the time of day as perf writes it.
[[nodiscard]] std::string StatHead(const std::string& when);

// What a call looks at: the processes alone if there are any.
[[nodiscard]] CpuTarget TargetOf(const BoardState& state, const PerfCall& call,
                                 std::uint32_t programs);

// Groups that can be counted at once; if there are more they take turns.
inline constexpr double kCounterGroups = 6.0;
// How far a count that stands for the whole time may be off when it was taken in a part of it, and
// how far the parts differ.
inline constexpr double kCountSwing = 0.003;
inline constexpr double kShareSwing = 0.01;

// For how long there was something to count, on all cores together.
[[nodiscard]] double EnabledNs(const std::vector<WorkPiece>& work, const CpuTarget& target,
                               const BoardSpan& span);

// The rows of a stretch of time, one for each event. `startMs` is when the counting began, from
// which the first column counts, if the call asks for intervals. The caller holds the board's lock,
// or owns the state.
[[nodiscard]] std::string StatRows(const BoardState& state, const PerfCall& call,
                                   const CpuTarget& target, std::uint64_t startMs,
                                   const BoardSpan& span);

}  // namespace zarn::board
