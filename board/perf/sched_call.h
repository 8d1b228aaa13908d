#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/perf/sched_latency.h"

// Calls of `perf sched`, as far as the board answers them itself.
namespace zarn::board {

enum class SchedWork { kOther, kRecord, kLatency, kTimehist, kScript };

struct SchedCall {
    SchedWork work = SchedWork::kOther;  // kOther: one for the machine's perf
    std::string input = "perf.data";
    LatencyOrder order{
        {LatencyKey::kMean, LatencyKey::kMost, LatencyKey::kSwitches, LatencyKey::kRuntime}, false};
    std::vector<std::string> recordWords;  // behind `record`

    std::string problem;  // why the call is not understood; all else is then of no use
};

// The words behind `sched`.
[[nodiscard]] SchedCall ParseSchedCall(const std::vector<std::string>& words);

}  // namespace zarn::board
