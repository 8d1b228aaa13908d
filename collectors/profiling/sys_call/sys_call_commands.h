#pragma once

#include <cstdint>
#include <string>

// The shell commands of the collector of system calls. A log is a file that strace wrote: first a
// line for each call, which begins with its time, then the summary.
namespace zarn {

// Traces a process, `pid` as `pidof` tells it, for `duration` seconds into `log`.
[[nodiscard]] std::string TraceCommand(const std::string& pid, const std::string& log,
                                       std::uint32_t duration);

// Prints the rows of the log's summary.
[[nodiscard]] std::string SummaryCommand(const std::string& log);

// Prints the first and the last word of each call in the log whose line holds `name`.
[[nodiscard]] std::string DetailsCommand(const std::string& log, const std::string& name);

}  // namespace zarn
