#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `MemCollector`.
struct MemSettings {
    static constexpr std::uint32_t kMaxCount = 2000;
    static constexpr std::uint32_t kMaxInterval = 60;

    bool systemMemJob = false;              // `job` holds "system_mem"
    bool processMemJob = false;             // `job` holds "process_mem"
    std::uint32_t count = 0;                // samples, 1 to kMaxCount
    std::uint32_t interval = 0;             // seconds between samples, 1 to kMaxInterval
    std::vector<std::string> processNames;  // `process`, as `pidof` knows them
};

[[nodiscard]] const SettingKeys& MemCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after its lines on the error stream;
// `settings` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadMemSettings(const JsonDocument& config, MemSettings& settings);

}  // namespace zarn
