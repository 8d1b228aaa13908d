#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analyzers/sched/sched_source.h"

// The histories of single threads: their logs, and the documents of these.
namespace zarn {

// A thread as a report names it, and in parts.
struct SchedThread {
    std::string task;
    std::string name;
    std::string tid;
};

// Appends the thread's rows in the target's history to its log, and the log's name to `logs`. False
// after its line if the command fails.
[[nodiscard]] bool MakeThreadLog(const SchedContext& context, const SchedSource& source,
                                 const SchedThread& thread, std::vector<std::string>& logs);

// Writes a document of each log, once however often it is named. False after its lines if a log
// cannot be read; the others are written nevertheless.
[[nodiscard]] bool WriteThreadRows(const SchedContext& context, const SchedSource& source,
                                   const std::vector<std::string>& logs);

// Fits a task's name for a file name, and says so if that changes it: `words` stand in front of the
// label.
[[nodiscard]] std::string NameForFile(const std::string& task, std::string_view words,
                                      const std::string& label);

}  // namespace zarn
