#pragma once

#include <cstdint>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

[[nodiscard]] const SettingKeys& CpuPeakCollectorKeys();

struct CpuPeakSettings {
    std::uint32_t scanDuration = 0;         // ms
    std::uint32_t scanPeriod = 0;           // ms from one reading to the next
    double maxUsage = 0.0;                  // of a core, percent
    double collectionDuration = 0.0;        // of each recording, s
    std::uint32_t collectionFrequency = 0;  // samples a second of each recorded core
};

// Whether the section CpuPeakCollector is complete and legal; a line tells if not.
[[nodiscard]] bool CheckCpuPeakSettings(const JsonDocument& config);

// The values of a section that was checked.
[[nodiscard]] CpuPeakSettings ReadCpuPeakSettings(const JsonDocument& config);

}  // namespace zarn
