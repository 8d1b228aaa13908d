#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "formats/run_tree.h"

// Files of the collector of system calls in a run tree: for each process what strace wrote, and one
// document of all.
namespace zarn::sys_call_files {

inline constexpr const char* kRawDir = "raw_data/sys_call/";

// What the document bears as `objectId` and `eventId`; names of files begin with the former.
inline constexpr const char* kObjectId = "soc_sys_call_info";
inline constexpr const char* kEventId = "222210210";

[[nodiscard]] inline std::string LogPath(const std::string& dataPath, const std::string& process,
                                         const std::string& time) {
    const std::string prefix = std::string(kObjectId) + "_" + process + "_1_";
    return NumberedFile{kRawDir, prefix.c_str(), kLogSuffix}.Path(dataPath, time);
}

inline constexpr NumberedFile kDocument = {run_tree::kJsonDir, "soc_sys_call_info_1_", kDataSuffix};

// The members of a row of the document, which are the columns of strace's summary, and behind them,
// if asked for, that of the calls.
inline constexpr std::size_t kColumnCount = 8;
inline constexpr std::array<const char*, kColumnCount> kColumns = {
    "syscall-name", "time-percent(%)", "time-total(s)", "avg-time(us)",
    "min-time(s)",  "max-time(s)",     "calls",         "errors"};
inline constexpr const char* kCallsMember = "everyCall";

}  // namespace zarn::sys_call_files
