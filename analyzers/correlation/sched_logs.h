#pragma once

#include <functional>
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

// Whether there is a document of that log.
using IsAnalysedLog = std::function<bool(const SchedLog& log)>;

// Of these names of files the logs of a job, "global", "core" or "process": the cores in the order
// of their numbers, the processes in that of their names. Of several logs of one label the first
// analysed one counts, or the first of all if none is, in byte order of their names.
[[nodiscard]] std::vector<SchedLog> SelectSchedLogs(const std::vector<std::string>& names,
                                                    const std::string& job,
                                                    const IsAnalysedLog& isAnalysed);

}  // namespace zarn
