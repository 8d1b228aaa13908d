#pragma once

#include <map>
#include <optional>
#include <vector>

#include "board/perf/perf_call.h"

namespace zarn::board {

// Counts what the machine's kernel counts without its processor, of the cores or processes that a
// call looks at: by the kernel's counters where it lets this process have them, else by what
// /proc tells of it.
class MachineCounters {
public:
    // Counts the call's events of software from now on.
    explicit MachineCounters(const PerfCall& call);
    MachineCounters(const MachineCounters&) = delete;
    MachineCounters& operator=(const MachineCounters&) = delete;
    ~MachineCounters();

    // The count so far, of the clock in nanoseconds. Nothing where neither tells it.
    [[nodiscard]] std::optional<double> Count(SoftwareEvent event) const;

private:
    struct Counter {
        std::vector<int> files;       // of the kernel's counters; empty: by /proc
        std::optional<double> first;  // what /proc told at the beginning
    };

    const PerfCall& call_;
    std::map<SoftwareEvent, Counter> counters_;
};

}  // namespace zarn::board
