#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "board/model/sched_model.h"
#include "board/perf/perf_call.h"
#include "board/state/board_state.h"

// What recordings of any kind have in common.
namespace zarn::board {

// Prints a line on the error stream and gives the status.
[[nodiscard]] int FailPerf(const std::string& text, int status);

// Whether the board's scheduler has the cores that the call names; a line and the status if not.
[[nodiscard]] int CheckSchedCores(const BoardState& state, const PerfCall& call);

// Writes what was recorded, and says so as perf does. 0, or the status after a line.
[[nodiscard]] int WriteRecording(const PerfCall& call, const std::string& bytes,
                                 std::size_t samples);

// Runs the call's command, and has what happened meanwhile, in the board's time, written by
// `write`, whose status counts if it is not 0; else it is the command's. `ifNoFile` is what follows
// the line about an output that cannot be made.
[[nodiscard]] int RecordCommand(const BoardState& state, PerfCall call, const char* ifNoFile,
                                const std::function<int(const PerfCall&, const SchedSpan&)>& write);

}  // namespace zarn::board
