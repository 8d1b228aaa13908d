#pragma once

#include <string>

// Files of the collector of load peaks in a run tree: for each peak a recording of perf and its
// call stacks as text.
namespace zarn::cpu_peak_files {

inline constexpr const char* kRawDir = "raw_data/cpu_peak/";
inline constexpr const char* kRawPrefix = "cpu_peak_collect_CPU_";
inline constexpr const char* kRecordingSuffix = ".data";
inline constexpr const char* kTextSuffix = ".unfold";

// The name in kRawDir, without a suffix, of what is recorded at that time of the busy cores, whose
// numbers are parted by ",".
[[nodiscard]] inline std::string RawName(const std::string& busyCores, const std::string& time) {
    return kRawPrefix + busyCores + "_" + time;
}

}  // namespace zarn::cpu_peak_files
