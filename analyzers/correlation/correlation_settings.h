#pragma once

#include <cstdint>
#include <string>

#include "kit/setting_key.h"

namespace zarn {

// The jobs of the scheduler's analyzer, one of which is shown.
inline constexpr const char* kSchedGlobalSource = "global";
inline constexpr const char* kSchedCoreSource = "core";
inline constexpr const char* kSchedProcessSource = "process";

// The section of the correlation.
struct CorrelationSettings {
    std::uint32_t peakIntervalUs = 0;  // on either side of a peak, at most 10000000
    std::string sched;                 // one of the jobs above
};

[[nodiscard]] const SettingKeys& CorrelationKeys();

// Reads the section `name` of `config`. False after its line if a key is missing or has a value
// that is not allowed.
[[nodiscard]] bool ReadCorrelationSettings(const JsonDocument& config, const char* name,
                                           CorrelationSettings& settings);

}  // namespace zarn
