#include "foundation/time.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <thread>

#include "foundation/command_runner.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr const char* kSecondsFormat = "%Y%m%d%H%M%S";
constexpr std::size_t kSecondsDigits = 14;
constexpr std::size_t kTimeDigits = 17;
constexpr std::uint64_t kTimestampLimit = 2147483648000;  // seconds past 31 bits
constexpr std::uint64_t kMillisecondsPerSecond = 1000;

std::string MillisecondDigits(std::uint64_t milliseconds) {
    const std::string digits = std::to_string(milliseconds);
    return std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

}  // namespace

bool GetCurrentTimeString(std::string& timeString) {
    std::timespec now{};
    std::tm local{};
    std::array<char, 80> buffer{};
    if (std::timespec_get(&now, TIME_UTC) == 0 || ::localtime_r(&now.tv_sec, &local) == nullptr ||
        std::strftime(buffer.data(), buffer.size(), kSecondsFormat, &local) == 0) {
        return false;
    }
    timeString =
        buffer.data() + MillisecondDigits(static_cast<std::uint64_t>(now.tv_nsec) / 1000000);
    return true;
}

bool GetBootTime(std::string& timeString, CommandRunner& runner) {
    std::string output;
    if (!ExecuteCommand(R"(date "+%Y%m%d%H%M%S" --date="-$(awk '{print $1}' /proc/uptime) second")",
                        output, runner) ||
        output.empty()) {
        return PrintFailure("[sched] Failed to get cmd execution result!");
    }
    timeString = output.substr(0, output.size() - 1);
    return true;
}

bool TimestampToString(std::uint64_t milliseconds, std::string& timeString) {
    if (milliseconds >= kTimestampLimit) {
        return PrintFailure(
            "[zarn_utils] Error: The timestamp is too large to convert to a string!");
    }
    const auto seconds = static_cast<std::time_t>(milliseconds / kMillisecondsPerSecond);
    std::tm local{};
    if (::localtime_r(&seconds, &local) == nullptr) {
        return PrintFailure(
            "[zarn_utils] Error: tm is nullptr. Failed to convert timeStamp to timeString!");
    }
    std::array<char, 80> buffer{};
    if (std::strftime(buffer.data(), buffer.size(), kSecondsFormat, &local) == 0) {
        return PrintFailure(
            "[zarn_utils] Error: strftime return 0. Failed to convert timeStamp to timeString!");
    }
    timeString = buffer.data() + MillisecondDigits(milliseconds % kMillisecondsPerSecond);
    return true;
}

bool TimeStringToTimestamp(const std::string& timeString, std::uint64_t& milliseconds) {
    if (timeString.size() < kTimeDigits) {
        return PrintFailure("[zarn_utils] The length of TimeStr is incorrect!");
    }
    int fraction = 0;
    try {
        fraction = std::stoi(timeString.substr(kSecondsDigits));
    } catch (const std::exception&) {
        return PrintFailure("[zarn_utils] Error: Failed to convert timeString to timeStamp!");
    }
    std::tm local{};
    if (::strptime(timeString.substr(0, kSecondsDigits).c_str(), kSecondsFormat, &local) ==
        nullptr) {
        PrintError("[zarn_utils] Error: strptime Failed to convert timeString to tm!!");
    }
    const std::time_t seconds = std::mktime(&local);
    if (seconds < 0) {
        return PrintFailure("[zarn_utils] Error: Failed to convert timeString to timeStamp!");
    }
    milliseconds = static_cast<std::uint64_t>(fraction) +
                   static_cast<std::uint64_t>(seconds) * kMillisecondsPerSecond;
    return true;
}

bool TimestampToSeconds(const std::string& digits, std::uint32_t& seconds) {
    std::uint32_t value = 0;
    if (!StringToUint32(digits, value)) {
        return PrintFailure("[zarn_utils] Failed to convert timestamp to seconds!");
    }
    seconds = (value % 100000) / 1000 + (value / 100000) * 60;
    return true;
}

std::string GetFileTimestamp(const std::string& path) {
    std::vector<std::string> tokens;
    SplitString(path, "_", tokens);
    if (tokens.empty()) {
        return "";
    }
    std::vector<std::string> parts;
    SplitString(tokens.back(), ".", parts);
    return parts.size() < 2 ? tokens.back() : parts[parts.size() - 2];
}

void SleepSeconds(std::uint32_t seconds, const StopFlag* stopFlag) {
    SleepFor(std::chrono::seconds(seconds), stopFlag);
}

void SleepFor(std::chrono::milliseconds duration, const StopFlag* stopFlag) {
    constexpr std::chrono::milliseconds kAtOnce(1000);
    while (duration.count() > 0 && !IsSet(stopFlag)) {
        std::this_thread::sleep_for(std::min(duration, kAtOnce));
        duration -= kAtOnce;
    }
}

}  // namespace zarn
