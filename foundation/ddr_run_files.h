#pragma once

// Names of the DDR family's files in a run tree: written by its collector and by the optimizer, read
// by the analyzer, the comparator and the correlation. A numbered file is prefix + time stamp + "." +
// suffix; the prefixes also serve FindIndexedFiles, so they hold no character special to a regular
// expression.
namespace zarn::ddr_files {

inline constexpr const char* kRawFolder = "raw_data/ddr";  // as it is created
inline constexpr const char* kRawDir = "raw_data/ddr/";

// The optimizer's logs in kRawDir, suffix "log".
inline constexpr const char* kOptimizerLog = "soc_ddr_opt_info_1_";
inline constexpr const char* kStressLog = "soc_ddr_stress_info_1_";
inline constexpr const char* kLogSuffix = "log";

}  // namespace zarn::ddr_files
