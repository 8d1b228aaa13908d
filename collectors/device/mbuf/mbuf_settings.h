#pragma once

#include <cstdint>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `MbufCollector`.
struct MbufSettings {
    std::uint32_t count = 0;     // cycles
    std::uint32_t interval = 0;  // seconds to wait after each
};

[[nodiscard]] const SettingKeys& MbufCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after its line on the error stream;
// `settings` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadMbufSettings(const JsonDocument& config, MbufSettings& settings);

}  // namespace zarn
