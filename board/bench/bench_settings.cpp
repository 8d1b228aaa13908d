#include "board/bench/bench_settings.h"

#include <charconv>
#include <map>
#include <system_error>
#include <utility>

#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kMostCount = 1000000;
constexpr double kMostFps = 100000.0;
constexpr double kLeastNeed = 0.001;

constexpr std::array<std::string_view, kStressCount> kStressKeys = {"aic", "cpu", "imgp_venc",
                                                                    "imgp_vpc", "isp"};

constexpr std::array<std::pair<std::string_view, BenchFault>, 9> kFaults = {{
    {"none", BenchFault::None},
    {"fail", BenchFault::Fail},
    {"kill", BenchFault::Kill},
    {"silent", BenchFault::Silent},
    {"short", BenchFault::Short},
    {"long", BenchFault::Long},
    {"malformed", BenchFault::Malformed},
    {"hang", BenchFault::Hang},
    {"endless", BenchFault::Endless},
}};

template <class Number>
bool ReadNumber(std::string_view text, Number least, Number most, Number& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && number >= least &&
           number <= most;
}

bool ReadFault(std::string_view text, BenchFault& fault) {
    for (const auto& [name, value] : kFaults) {
        if (name == text) {
            fault = value;
            return true;
        }
    }
    return false;
}

// "<stress>_fps" and "<stress>_need".
bool ReadSpeed(std::string_view key, std::string_view value, BenchSettings& settings) {
    for (std::size_t i = 0; i < kStressCount; ++i) {
        const std::string_view name = kStressKeys[i];
        if (!StartsWith(key, name)) {
            continue;
        }
        const std::string_view rest = key.substr(name.size());
        StressSpeed& speed = settings.speeds[i];
        if (rest == "_fps") {
            return ReadNumber(value, 0.0, kMostFps, speed.fps);
        }
        if (rest == "_need") {
            return ReadNumber(value, kLeastNeed, 1.0, speed.need);
        }
    }
    return false;
}

bool ReadSetting(std::string_view key, std::string_view value, BenchSettings& settings) {
    const std::map<std::string_view, std::uint32_t*> counts = {
        {"periods", &settings.periods},      {"period_ms", &settings.periodMs},
        {"pace_ms", &settings.paceMs},       {"seed", &settings.seed},
        {"fault_skip", &settings.faultSkip},
    };
    const auto count = counts.find(key);
    if (count != counts.end()) {
        return ReadNumber(value, 0U, kMostCount, *count->second);
    }
    if (key == "noise") {
        return ReadNumber(value, 0.0, 1.0, settings.noise);
    }
    return key == "fault" ? ReadFault(value, settings.fault) : ReadSpeed(key, value, settings);
}

}  // namespace

std::optional<std::string> ParseBenchSettings(std::string_view text, BenchSettings& settings) {
    LineCursor lines(text);
    std::string_view line;
    for (std::size_t number = 1; lines.Next(line); ++number) {
        const std::string_view content = TrimSpacesView(line.substr(0, line.find('#')));
        if (content.empty() || content == "---") {
            continue;
        }
        const std::size_t colon = content.find(':');
        if (colon == std::string_view::npos ||
            !ReadSetting(content.substr(0, colon), TrimSpacesView(content.substr(colon + 1)),
                         settings)) {
            return "line " + std::to_string(number) + ": no setting, or out of its range";
        }
    }
    return std::nullopt;
}

}  // namespace zarn::board
