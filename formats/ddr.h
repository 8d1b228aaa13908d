#pragma once

// Names of the DDR family's files in a run tree: written by its collector and by the optimizer,
// read by the analyzer, the comparator and the correlation. A numbered file is prefix + time stamp
// + "." + suffix; the prefixes also serve FindIndexedFiles, so they hold no character special to a
// regular expression.
namespace zarn::ddr_files {

inline constexpr const char* kRawFolder = "raw_data/ddr";  // as it is created
inline constexpr const char* kRawDir = "raw_data/ddr/";
inline constexpr const char* kCsvFolder = "csv/ddr";

inline constexpr const char* kLogSuffix = "log";
inline constexpr const char* kDataSuffix = "data";
inline constexpr const char* kCsvSuffix = "csv";

// The collector's raw log in kRawDir, suffix "log", and the shares made of it in json/, suffix
// "data", have the same prefix; the QoS settings at its start are in json/, suffix "data".
inline constexpr const char* kBandwidth = "soc_ddr_bandwidth_usage_info_1_";
inline constexpr const char* kQosSettings = "soc_qos_mata_config_info_";

// The analyzer's document in json/, suffix "data", and its table in kRawDir, suffix "csv".
inline constexpr const char* kAnalysis = "soc_ddr_ana_info_1_";

// The comparator's table in kCsvFolder.
inline constexpr const char* kComparison = "soc_ddr_comp_info.csv";

// The optimizer's logs in kRawDir, suffix "log".
inline constexpr const char* kOptimizerLog = "soc_ddr_opt_info_1_";
inline constexpr const char* kStressLog = "soc_ddr_stress_info_1_";

}  // namespace zarn::ddr_files
