#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "formats/run_tree.h"

// Files of the scheduler family in a run tree: written by its collector, read by its analyzer.
// Names of files in kRawDir hold the pass, counted from 1, and the moment of the job in that pass.
namespace zarn::sched_files {

inline constexpr const char* kRawDir = "raw_data/sched/";

// What was measured, as the names of its raw files have it. All begin with kTargetPrefix.
inline constexpr const char* kTargetPrefix = "sched";
[[nodiscard]] inline std::string GlobalTarget() {
    return "sched_global";
}
[[nodiscard]] inline std::string CoreTarget(std::uint32_t core) {
    return "sched_core_" + std::to_string(core);
}
[[nodiscard]] inline std::string ProcessTarget(const std::string& name, std::int32_t pid) {
    return "sched_process_" + name + "_" + std::to_string(pid);
}

// The recording of one target, and the reports that were made of it; names in kRawDir.
[[nodiscard]] inline std::string RecordName(const std::string& target, std::uint32_t pass,
                                            const std::string& time) {
    return target + "_record_" + std::to_string(pass) + "_" + time + ".perf";
}
// `sorted`: the report's sort key.
[[nodiscard]] inline std::string LatencyName(const std::string& target, const std::string& sorted,
                                             std::uint32_t pass, const std::string& time) {
    return target + "_latency_" + sorted + "_" + std::to_string(pass) + "_" + time + "." +
           kLogSuffix;
}
inline constexpr const char* kTimehistMark = "_timehist_";  // behind the target
[[nodiscard]] inline std::string TimehistName(const std::string& target, std::uint32_t pass,
                                              const std::string& time) {
    return target + kTimehistMark + std::to_string(pass) + "_" + time + "." + kLogSuffix;
}

// What the light recorder of the kernel held.
[[nodiscard]] inline std::string LiteName(const std::string& part, std::uint32_t pass,
                                          const std::string& time) {
    return "sched_lite_" + part + "_" + std::to_string(pass) + "_" + time + "." + kLogSuffix;
}
inline constexpr const char* kLiteLog = "log";
inline constexpr const char* kLiteTable = "table";
inline constexpr const char* kLiteStacks = "stacks";

// How processes and threads are set up, as the system's tools print it.
inline constexpr NumberedFile kPriorityLog = {kRawDir, "sched_process_priority_", kLogSuffix};
inline constexpr NumberedFile kAffinityLog = {kRawDir, "sched_process_affinity_", kLogSuffix};
inline constexpr NumberedFile kNamedPriorityLog = {kRawDir, "sched_thread_specified_priority_",
                                                   kLogSuffix};
inline constexpr NumberedFile kNamedAffinityLog = {kRawDir, "sched_thread_specified_affinity_",
                                                   kLogSuffix};
inline constexpr NumberedFile kNamedPolicyLog = {kRawDir, "sched_thread_specified_schedPolicy_",
                                                 kLogSuffix};

// The same of all threads of one process, below `dataPath`.
struct ThreadLogs {
    std::string list;
    std::string priority;
    std::string policy;
};
[[nodiscard]] inline ThreadLogs ThreadPriorityLogs(const std::string& dataPath,
                                                   const std::string& process,
                                                   const std::string& time) {
    const std::string stem = dataPath + kRawDir + "sched_thread_priority_process_" + process;
    const std::string end = time + "." + kLogSuffix;
    return {stem + "_all_thread_" + end, stem + "_all_thread_priority_" + end,
            stem + "_all_thread_schedPolicy_" + end};
}
struct AffinityLogs {
    std::string list;
    std::string affinity;
};
[[nodiscard]] inline AffinityLogs ThreadAffinityLogs(const std::string& dataPath,
                                                     const std::string& process,
                                                     const std::string& time) {
    const std::string stem = dataPath + kRawDir + "sched_thread_affinity_process_" + process;
    const std::string end = time + "." + kLogSuffix;
    return {stem + "_all_thread_" + end, stem + "_all_thread_affinity_" + end};
}

// The documents of the latency reports.
[[nodiscard]] inline std::string GlobalLatencyPath(const std::string& dataPath, std::uint32_t pass,
                                                   const std::string& time) {
    return dataPath + run_tree::kJsonDir + "soc_sched_global_latency_info_" + std::to_string(pass) +
           "_" + time + "." + kDataSuffix;
}
[[nodiscard]] inline std::string CoreLatencyPath(const std::string& dataPath, std::uint32_t core,
                                                 std::uint32_t pass, const std::string& time) {
    return dataPath + run_tree::kJsonDir + "soc_sched_core_latency_info_core" +
           std::to_string(core) + "_" + std::to_string(pass) + "_" + time + "." + kDataSuffix;
}

// The documents of how processes and threads are set up, which are made once a run, and the table.
inline constexpr NumberedFile kPriorityInfo = {run_tree::kJsonDir, "soc_sched_priority_info_1_",
                                               kDataSuffix};
inline constexpr NumberedFile kAffinityInfo = {run_tree::kJsonDir, "soc_sched_affinity_info_1_",
                                               kDataSuffix};
inline constexpr NumberedFile kNamedThreadInfo = {
    run_tree::kJsonDir, "soc_sched_thread_specified_thread_info_1_", kDataSuffix};
[[nodiscard]] inline std::string ThreadPriorityInfoPath(const std::string& dataPath,
                                                        const std::string& process,
                                                        const std::string& time) {
    return dataPath + run_tree::kJsonDir + "soc_sched_thread_priority_process_" + process +
           "_all_thread_priority_info_1_" + time + "." + kDataSuffix;
}
// The doubled "_" is part of the name.
[[nodiscard]] inline std::string ThreadAffinityInfoPath(const std::string& dataPath,
                                                        const std::string& process,
                                                        const std::string& time) {
    return dataPath + run_tree::kJsonDir + "soc_sched_thread_affinity_process_" + process +
           "_all_thread_affinity__info_1_" + time + "." + kDataSuffix;
}
inline constexpr const char* kThreadTable = "csv/soc_sched_thread_info.csv";

}  // namespace zarn::sched_files

// What the family's writers and readers both know.
namespace zarn {

// The `eventId` of the collector's documents, and their `objectId`s.
inline constexpr const char* kSchedEventId = "222200002";
inline constexpr const char* kSchedGlobalLatency = "soc_sched_global_latency_info";
inline constexpr const char* kSchedCoreLatency = "soc_sched_core_latency_info";
inline constexpr const char* kSchedPriority = "soc_sched_priority_info";
inline constexpr const char* kSchedAffinity = "soc_sched_affinity_info";
inline constexpr const char* kSchedThreadPriority = "soc_sched_thread_priority_info";
inline constexpr const char* kSchedThreadAffinity = "soc_sched_thread_affinity_info";
inline constexpr const char* kSchedNamedThread = "soc_sched_specified_thread_info";

// A row of a latency document, in the order of the report's columns; all are texts. The moment of
// booting stands behind them.
inline constexpr std::array<const char*, 6> kSchedLatencyColumns = {
    "Task", "runtime", "switches", "averageDelay", "maximumDelay", "maximumDelayAt"};
inline constexpr const char* kSchedBootMember = "systemStartUpTime";

}  // namespace zarn
