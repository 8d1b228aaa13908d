#pragma once

#include <cstdint>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `AiCoreCollector`.
struct AiCoreSettings {
    static constexpr std::uint32_t kMaxCount = 2000;
    static constexpr std::uint32_t kMaxInterval = 60;

    bool usageJob = false;       // `job` holds "usage"
    std::uint32_t count = 0;     // samples, 1 to kMaxCount
    std::uint32_t interval = 0;  // seconds between samples, 1 to kMaxInterval
};

[[nodiscard]] const SettingKeys& AiCoreCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after a line on the error stream;
// `settings` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadAiCoreSettings(const JsonDocument& config, AiCoreSettings& settings);

}  // namespace zarn
