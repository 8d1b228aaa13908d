#pragma once

#include <string>
#include <vector>

// Names of the folders of a run tree, below `dataPath` (which ends in a slash), and of the files
// that belong to no family of missions. Files of a family stand in that family's header beside this
// one.
namespace zarn {

namespace run_tree {

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

}  // namespace run_tree

// A file that a run tree holds once for each run of the mission that writes it, numbered by a time
// stamp: folder + prefix + time + "." + suffix.
struct NumberedFile {
    const char* folder;  // below `dataPath`, with its final slash
    const char* prefix;  // holds no character special to a regular expression
    const char* suffix;

    [[nodiscard]] std::string Path(const std::string& dataPath, const std::string& time) const;

    // The files of the tree, in directory order; case does not count. A folder that cannot be
    // opened prints a line and has none.
    [[nodiscard]] std::vector<std::string> FindAll(const std::string& dataPath) const;
};

// Suffixes of numbered files: raw text, event documents, tables.
inline constexpr const char* kLogSuffix = "log";
inline constexpr const char* kDataSuffix = "data";
inline constexpr const char* kCsvSuffix = "csv";

}  // namespace zarn
