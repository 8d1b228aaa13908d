#pragma once

#include <string>

// Files of the collector of library use in a run tree: for each process a recording of perf and its
// call stacks as text.
namespace zarn::lib_files {

inline constexpr const char* kRawDir = "raw_data/lib/";
inline constexpr const char* kRawPrefix = "lib_process_";
inline constexpr const char* kRecordingSuffix = ".data";
inline constexpr const char* kTextSuffix = ".txt";

// The name in kRawDir, without a suffix, of what is recorded of a process at that time.
[[nodiscard]] inline std::string RawName(const std::string& process, const std::string& pid,
                                         const std::string& time) {
    return kRawPrefix + process + "_" + pid + "_" + time;
}

}  // namespace zarn::lib_files
