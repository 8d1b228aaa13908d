#pragma once

#include <string>

// Files of the collectors that profile single programs, in a run tree: reports of valgrind, and
// recordings of perf with their samples as text. They are for the engineer; no mission reads them.
namespace zarn::valgrind_files {

// Where a collector's files lie, and how their names begin, the program following.
struct Kind {
    const char* rawDir;
    const char* prefix;
};

inline constexpr Kind kCacheGrind = {"raw_data/cachegrind/", "cachegrind_"};
inline constexpr Kind kMassif = {"raw_data/massif/", "massif_"};
inline constexpr Kind kCallGrind = {"raw_data/callgrind/", "callgrind_"};

// The report on a program.
[[nodiscard]] inline std::string ReportName(const Kind& kind, const std::string& program,
                                            const std::string& time) {
    return kind.prefix + program + "_" + time + ".log";
}

// The regular expression of the names of reports on it, whatever the time. Nothing in the program's
// name is escaped.
[[nodiscard]] inline std::string ReportPattern(const Kind& kind, const std::string& program) {
    return kind.prefix + program + R"(_[0-9]+\.log)";
}

// The name of a process's recording, and of its samples as text, without a suffix.
[[nodiscard]] inline std::string RecordingStem(const std::string& process, const std::string& pid,
                                               const std::string& time) {
    return kCallGrind.prefix + process + "_" + pid + "_" + time;
}
inline constexpr const char* kRecordingSuffix = ".data";
inline constexpr const char* kSamplesSuffix = ".log";

}  // namespace zarn::valgrind_files
