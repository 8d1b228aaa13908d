#pragma once

#include <cstdint>
#include <string>

// The shell commands of the hot functions' collector.
namespace zarn {

// What is recorded: an option of `perf record` and its value, which may be empty.
struct RecordTarget {
    const char* option;
    std::string value;
};

// Records call chains for `duration` seconds into `recording` and appends its samples as text to
// `script`.
[[nodiscard]] std::string RecordCommand(const RecordTarget& target, const std::string& recording,
                                        const std::string& script, std::uint32_t duration);

// Appends the report on the recordings that the shell finds by `glob` to `report`.
[[nodiscard]] std::string ReportCommand(const std::string& glob, const std::string& report);

}  // namespace zarn
