#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/perf/sched_record.h"

namespace zarn::board {

enum class LatencyKey { kRuntime, kSwitches, kMean, kMost };

// How the report is asked for: by which keys it is sorted, the first one first, and whether each
// task has a row of its own or those of one name share one.
struct LatencyOrder {
    std::vector<LatencyKey> keys;
    bool perTask = false;
};

// The key of that word: runtime, switch, avg or max.
[[nodiscard]] std::optional<LatencyKey> LatencyKeyOf(std::string_view word);

// The report of `perf sched latency`. A delay is the time from a wake-up, or the loss of the core,
// to the switch-in; who is first seen when it comes to a core has not waited.
[[nodiscard]] std::string LatencyReport(const SchedRecord& record, const LatencyOrder& order);

}  // namespace zarn::board
