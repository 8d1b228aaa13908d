#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/run_tree.h"

// Files of the AICPU family in a run tree: written by its collector, read by its analyzer.
namespace zarn::aicpu_files {

inline constexpr const char* kRawDir = "raw_data/aicpu/";

// The collector's record of what it did, and the analyzer's document of the whole complex.
inline constexpr NumberedFile kRecord = {run_tree::kJsonDir, "soc_aicpu_info_1_", kDataSuffix};
inline constexpr NumberedFile kSocAnalysis = {run_tree::kJsonDir, "soc_aicpu_ana_1_soc_",
                                              kDataSuffix};

// The analyzer's document of one process.
[[nodiscard]] std::string ProcessAnalysisPath(const std::string& dataPath,
                                              const std::string& process, const std::string& time);

// The copies of one attribute while it is being collected.
[[nodiscard]] std::string CopyPath(const std::string& dataPath, const std::string& attribute,
                                   const std::string& time);

// What the two attributes say that processes and their groups are looked up in, for a moment.
[[nodiscard]] std::string SnapshotPath(const std::string& dataPath, const std::string& attribute);

// The sections of the device; those of one list of attributes for one process.
[[nodiscard]] std::string DevicePath(const std::string& dataPath, const std::string& time);
[[nodiscard]] std::string SectionsPath(const std::string& dataPath, const std::string& list,
                                       const std::string& process, const std::string& time);

}  // namespace zarn::aicpu_files

// What the family's writers and readers both know.
namespace zarn {

inline constexpr const char* kAicpuRecordEvent = "222200004";
inline constexpr const char* kAicpuAnalysisEvent = "222210030";

// Attributes of the event scheduler's node that are copied together, into files named after the
// list.
struct AicpuList {
    std::string name;
    std::vector<std::string> attributes;
};

// The first three are jobs; the last is always copied.
extern const AicpuList aicpuCoreList;
extern const AicpuList aicpuEventList;
extern const AicpuList aicpuAbnormalList;
extern const AicpuList aicpuProcessList;
// Copied once, and merged together with the core set into the sections of the device.
extern const AicpuList aicpuDeviceList;
inline constexpr const char* kAicpuCoreSet = "cpuset";

// A section is its attribute's name and kAicpuStart on a line, texts, the name and kAicpuEnd. Each
// text stands behind a line kAicpuPass.
inline constexpr std::string_view kAicpuStart = " START";
inline constexpr std::string_view kAicpuEnd = " END";
inline constexpr std::string_view kAicpuPass = "@zarn-new:";

// What is collected, or analysed, beside the processes.
struct AicpuJobs {
    bool core = false;
    bool event = false;
    bool abnormal = false;
};

// A process on one core of the complex.
struct AicpuProcess {
    bool valid = true;  // it runs, and is bound to the core
    std::string name;
    std::uint32_t core = 0;
    std::uint32_t pid = 0;
    std::uint32_t groupId = 0;
    std::vector<std::string> collectTimes;  // of each pass
};

// What the collector tells of itself.
struct AicpuRecord {
    std::int32_t deMin = -1;  // lowest and highest core of the complex; -1: none is known
    std::int32_t deMax = -1;
    AicpuJobs jobs;
    std::uint32_t interval = 0;  // seconds between passes
    std::uint32_t count = 0;     // passes
    std::vector<AicpuProcess> processes;
};

}  // namespace zarn
