#pragma once

#include <map>
#include <string>
#include <vector>

#include "formats/run_tree.h"

// Files of the DDR family in a run tree: written by its collector and by the optimizer, read by the
// analyzer, the comparator and the correlation.
namespace zarn::ddr_files {

inline constexpr const char* kRawFolder = "raw_data/ddr";  // as it is created
inline constexpr const char* kRawDir = "raw_data/ddr/";
inline constexpr const char* kCsvFolder = "csv/ddr";

// The collector's raw log, the shares made of it, and the QoS settings at its start.
inline constexpr NumberedFile kBandwidthLog = {kRawDir, "soc_ddr_bandwidth_usage_info_1_",
                                               kLogSuffix};
inline constexpr NumberedFile kBandwidth = {run_tree::kJsonDir, "soc_ddr_bandwidth_usage_info_1_",
                                            kDataSuffix};
inline constexpr NumberedFile kQosSettings = {run_tree::kJsonDir, "soc_qos_mata_config_info_",
                                              kDataSuffix};

// The analyzer's document and its table.
inline constexpr NumberedFile kAnalysis = {run_tree::kJsonDir, "soc_ddr_ana_info_1_", kDataSuffix};
inline constexpr NumberedFile kAnalysisTable = {kRawDir, "soc_ddr_ana_info_1_", kCsvSuffix};

// The comparator's table in kCsvFolder.
inline constexpr const char* kComparison = "soc_ddr_comp_info.csv";

// The optimizer's logs.
inline constexpr NumberedFile kOptimizerLog = {kRawDir, "soc_ddr_opt_info_1_", kLogSuffix};
inline constexpr NumberedFile kStressLog = {kRawDir, "soc_ddr_stress_info_1_", kLogSuffix};

}  // namespace zarn::ddr_files

// What the family's writers and readers both know. The tables are never changed.
namespace zarn {

// The DDR's peak, in GB/s and in MB/s: shares are percent of it.
inline constexpr double kDdrPeakGb = 51.0;
inline constexpr double kDdrPeakMb = 52224.0;

// The name of the sum of all masters, which has no bounds.
inline constexpr const char* kDdrTotal = "total";

// The id in the bandwidth table to the name in the results, and `total`, the sum of the ten. Its
// size is the number of rows that make one sample.
extern const std::map<std::string, std::string> mpamNameMap;

// The names in the order in which results show them: `total`, then the masters.
extern const std::vector<std::string> ddrNameList;

}  // namespace zarn
