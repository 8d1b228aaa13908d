#pragma once

#include <cstdint>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `DdrCollector`.
struct DdrSettings {
    static constexpr std::uint32_t kMaxCount = 2000;
    static constexpr std::uint32_t kMaxInterval = 60;

    bool globalJob = false;      // `job` holds "global", the only job there is
    std::uint32_t count = 0;     // samples, 1 to kMaxCount
    std::uint32_t interval = 0;  // seconds between samples, 1 to kMaxInterval
};

[[nodiscard]] const SettingKeys& DdrCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after its line on the error stream;
// `settings` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadDdrSettings(const JsonDocument& config, DdrSettings& settings);

}  // namespace zarn
