#pragma once

#include <string>
#include <vector>

#include "formats/sched_analysis.h"

namespace zarn {

// A history of the first pass, and what its name tells.
struct SchedLog {
    std::string name;   // of the file
    std::string label;  // of its columns
    sched_files::AnalysisTarget target;
};

// Of these names of files the logs of a job, "global", "core" or "process": the cores in the order
// of their numbers, the processes in that of their names. Of several logs of one label that whose
// name comes first in byte order counts.
[[nodiscard]] std::vector<SchedLog> SelectSchedLogs(const std::vector<std::string>& names,
                                                    const std::string& job);

}  // namespace zarn
