#pragma once

#include <string>

#include "formats/run_tree.h"

// Files of the scheduler family that its analyzer writes: raw text in kAnalysisRawDir, documents in
// the folder of documents.
namespace zarn::sched_files {

inline constexpr const char* kAnalysisRawDir = "raw_data/schedAna/";

// What the name of a recording of the first pass holds, which is the one that is analysed.
inline constexpr const char* kFirstRecordMark = "record_1_";

// What is analysed, in the names of the files.
struct AnalysisTarget {
    std::string job;    // "global", "core" or "process"
    std::string label;  // the job, and which core or process
    std::string stamp;  // the moment of the job, as the raw files have it
};

// The end of the names of files that belong to a target as a whole: there is one global one, so
// that its label is not said again.
[[nodiscard]] inline std::string AnalysisEnding(const AnalysisTarget& target) {
    return (target.job == target.label ? "" : "_" + target.label) + "_1_" + target.stamp + ".";
}

// Document names. `what`: one of the following.
inline constexpr const char* kAnalysisPrefix = "soc_schedAna_";
inline constexpr const char* kLatencyAnalysis = "latency_ana";
inline constexpr const char* kTimehistAnalysis = "timehist_ana";
inline constexpr const char* kDelayInfo = "latency_info";
[[nodiscard]] inline std::string AnalysisName(const AnalysisTarget& target, const char* what) {
    return kAnalysisPrefix + target.job + "_" + what + AnalysisEnding(target) + kDataSuffix;
}

// The document of the thread whose log has that name.
[[nodiscard]] inline std::string ThreadRowsName(const std::string& threadLog) {
    return "soc_" + threadLog + "." + kDataSuffix;
}

// Raw texts: the threads of one task in the latency report, the history of one thread, and what
// happened on a core before one event. `task`, `time` and `cpu` are fit for file names.
[[nodiscard]] inline std::string TaskLogName(const AnalysisTarget& target,
                                             const std::string& task) {
    return "schedAna_" + target.label + "_latency_analyzer_" + task + "_" + target.stamp + "." +
           kLogSuffix;
}
[[nodiscard]] inline std::string ThreadLogName(const AnalysisTarget& target,
                                               const std::string& task) {
    return "schedAna_" + target.label + "_timehist_process_tid_" + task + "_" + target.stamp + "." +
           kLogSuffix;
}
[[nodiscard]] inline std::string ScriptLogName(const AnalysisTarget& target,
                                               const std::string& time, const std::string& cpu) {
    return "soc_schedAna_" + target.job + "_timehist_script_grep_" + time + "_grep_" + cpu +
           AnalysisEnding(target) + kLogSuffix;
}

}  // namespace zarn::sched_files

// What documents of the analysis bear.
namespace zarn {

inline constexpr const char* kSchedAnalysisEvent = "222210060";
inline constexpr const char* kSchedThreadRowsEvent = "222200002";
inline constexpr const char* kSchedAnalysis = "soc_sched_ana";
inline constexpr const char* kSchedThreadRows = "soc_sched_target_process_ana";

// That of the history of a job.
[[nodiscard]] std::string SchedTimehistAnalysis(const std::string& job);

}  // namespace zarn
