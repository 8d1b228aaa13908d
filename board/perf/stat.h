#pragma once

#include "board/perf/perf_call.h"

namespace zarn::board {

// Counts while the call's command runs, as `perf stat` does; the exit status. An interrupt keeps
// what was counted.
[[nodiscard]] int RunStat(const PerfCall& call);

}  // namespace zarn::board
