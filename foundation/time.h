#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "foundation/command_runner.h"
#include "foundation/stop_flag.h"

// Moments as the run tree writes them: local time in digits.
namespace zarn {

// 17 digits: local time "%Y%m%d%H%M%S" and three digits of milliseconds. False, without a line, if
// local time cannot be had.
[[nodiscard]] bool GetCurrentTimeString(std::string& timeString);

// The moment of booting, 14 digits.
[[nodiscard]] bool GetBootTime(std::string& timeString,
                               CommandRunner& runner = SystemCommandRunner());

// Milliseconds since the epoch (below 2147483648000) to 17 digits of local time.
[[nodiscard]] bool TimestampToString(std::uint64_t milliseconds, std::string& timeString);

// 17 digits (or more: all from index 14 on count as milliseconds) to milliseconds since the epoch.
[[nodiscard]] bool TimeStringToTimestamp(const std::string& timeString,
                                         std::uint64_t& milliseconds);

// "MMSSmmm" to minutes * 60 + seconds; the milliseconds do not count.
[[nodiscard]] bool TimestampToSeconds(const std::string& digits, std::uint32_t& seconds);

// The time digits in a raw file's name: ".../cpu_global_1_20230101120000123.log" gives the 17
// digits.
[[nodiscard]] std::string GetFileTimestamp(const std::string& path);

// Sleeps up to `seconds`, one second at a time, ending early when the flag is set.
void SleepSeconds(std::uint32_t seconds, const StopFlag* stopFlag);
// The same for any length: at most one second at a time.
void SleepFor(std::chrono::milliseconds duration, const StopFlag* stopFlag);

}  // namespace zarn
