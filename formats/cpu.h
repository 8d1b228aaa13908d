#pragma once

// Names of the CPU family's files in a run tree: written by its collector, read by its analyzer,
// its comparator and whatever else works on CPU load. A numbered file is prefix + time stamp + "."
// + suffix; the prefixes also serve FindIndexedFiles, so they hold no character special to a
// regular expression.
namespace zarn::cpu_files {

inline constexpr const char* kRawDir = "raw_data/cpu/";
inline constexpr const char* kCsvDir = "csv/cpu/";

// Raw logs, suffix "log".
inline constexpr const char* kUsageLog = "soc_gea_cpu_usage_info_1_";
inline constexpr const char* kGlobalLog = "cpu_global_1_";
inline constexpr const char* kCoresLog = "cpu_cores_1_";
inline constexpr const char* kTop10Log = "cpu_top_10_processes_1_";
inline constexpr const char* kSelectedLog = "cpu_selected_processes_1_";
inline constexpr const char* kThreadLog = "cpu_thread_1_";
inline constexpr const char* kLogSuffix = "log";

// Collector's documents in json/, suffix "data".
inline constexpr const char* kUsageDocuments = "soc_gea_cpu_usage_info_";
inline constexpr const char* kDataSuffix = "data";

// Analyzer's documents in json/, suffix "data".
inline constexpr const char* kGlobalAnalysis = "soc_cpu_ana_global_";
inline constexpr const char* kAllProcesses = "soc_cpu_ana_all_procs_usage_info_";
inline constexpr const char* kSelectedAnalysis = "soc_cpu_ana_selected_process_";
inline constexpr const char* kCoreAnalysis = "soc_cpu_ana_core_";

// Analyzer's tables in raw_data/cpu/, suffix "csv".
inline constexpr const char* kGlobalTable = "cpu_ana_global_rawdata_";
inline constexpr const char* kSelectedTable = "soc_cpu_ana_selected_process_rawdata_";
inline constexpr const char* kCoreTable =
    "/soc_cpu_ana_core_rawdata_";  // readers know the doubled slash
inline constexpr const char* kLoadingTable = "soc_cpu_ana_loading_rawdata_";
inline constexpr const char* kCsvSuffix = "csv";

// Comparator's table in csv/cpu/.
inline constexpr const char* kComparison = "cpu_comparator_result.csv";

}  // namespace zarn::cpu_files
