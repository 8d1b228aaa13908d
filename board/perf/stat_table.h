#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/perf/perf_call.h"
#include "board/state/cpu_observation.h"

// What `perf stat` writes of counters for people: a table in the form of perf 6.1, with what the
// counts mean beside them. Pure functions.
namespace zarn::board {

// An event that was counted, or why not.
struct TableRow {
    enum class Kind { Counted, NotCounted, NotSupported };

    std::string name;
    Kind kind = Kind::NotSupported;
    double count = 0.0;      // nanoseconds of the event "task-clock"
    double percent = 100.0;  // of the time, in which it had its turn
    double clockNs = 0.0;    // of the board's cores; 0: of the machine's, the event "task-clock"
};

// The rows of what the board counts in a stretch of time; events of software, which it does not,
// are not supported. The caller holds the board's lock, or owns the state.
[[nodiscard]] std::vector<TableRow> BoardRows(const BoardState& state, const PerfCall& call,
                                              const CpuTarget& target, const BoardSpan& span);

[[nodiscard]] std::string StatTable(const PerfCall& call, const std::vector<TableRow>& rows,
                                    double elapsedSeconds);

}  // namespace zarn::board
