#pragma once

// Names of the folders of a run tree, below `dataPath` (which ends in a slash), and of the files
// that belong to no family of missions. Files of a family stand in that family's header beside this
// one.
namespace zarn::run_tree {

inline constexpr const char* kRoot = "/opt/usr/mnt/zarn/";
inline constexpr const char* kRunPrefix = "zarn_data_";

inline constexpr const char* kRawData = "raw_data";
inline constexpr const char* kJson = "json";
inline constexpr const char* kCsv = "csv";
inline constexpr const char* kEnvInfo = "env_info";

inline constexpr const char* kJsonDir = "json/";
inline constexpr const char* kCostLog = "env_info/time_cost.log";
inline constexpr const char* kConfigCopy = "/zarn_config.json";
inline constexpr const char* kCollectorTimes = "zarn_collector_start_end_timestamp.data";
inline constexpr const char* kToolVersion = "/qvt_tool_upgrade_display_version";

}  // namespace zarn::run_tree
