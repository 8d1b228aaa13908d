#pragma once

#include "formats/run_tree.h"

// Files of the CPU family in a run tree: written by its collector, read by its analyzer, its
// comparator and whatever else works on CPU load.
namespace zarn::cpu_files {

inline constexpr const char* kRawDir = "raw_data/cpu/";
inline constexpr const char* kCsvDir = "csv/cpu/";

// The collector's raw logs.
inline constexpr NumberedFile kUsageLog = {kRawDir, "soc_gea_cpu_usage_info_1_", kLogSuffix};
inline constexpr NumberedFile kGlobalLog = {kRawDir, "cpu_global_1_", kLogSuffix};
inline constexpr NumberedFile kCoresLog = {kRawDir, "cpu_cores_1_", kLogSuffix};
inline constexpr NumberedFile kSelectedLog = {kRawDir, "cpu_selected_processes_1_", kLogSuffix};
inline constexpr NumberedFile kThreadLog = {kRawDir, "cpu_thread_1_", kLogSuffix};

// The collector's documents.
inline constexpr NumberedFile kUsageDocuments = {run_tree::kJsonDir, "soc_gea_cpu_usage_info_",
                                                 kDataSuffix};

// The analyzer's documents.
inline constexpr NumberedFile kGlobalAnalysis = {run_tree::kJsonDir, "soc_cpu_ana_global_",
                                                 kDataSuffix};
inline constexpr NumberedFile kAllProcesses = {run_tree::kJsonDir,
                                               "soc_cpu_ana_all_procs_usage_info_", kDataSuffix};
inline constexpr NumberedFile kSelectedAnalysis = {run_tree::kJsonDir,
                                                   "soc_cpu_ana_selected_process_", kDataSuffix};
inline constexpr NumberedFile kCoreAnalysis = {run_tree::kJsonDir, "soc_cpu_ana_core_",
                                               kDataSuffix};

// The analyzer's tables. Readers know the doubled slash of the third one's path.
inline constexpr NumberedFile kGlobalTable = {kRawDir, "cpu_ana_global_rawdata_", kCsvSuffix};
inline constexpr NumberedFile kSelectedTable = {kRawDir, "soc_cpu_ana_selected_process_rawdata_",
                                                kCsvSuffix};
inline constexpr NumberedFile kCoreTable = {kRawDir, "/soc_cpu_ana_core_rawdata_", kCsvSuffix};
inline constexpr NumberedFile kLoadingTable = {kRawDir, "soc_cpu_ana_loading_rawdata_", kCsvSuffix};

// The comparator's table in kCsvDir.
inline constexpr const char* kComparison = "cpu_comparator_result.csv";

}  // namespace zarn::cpu_files
