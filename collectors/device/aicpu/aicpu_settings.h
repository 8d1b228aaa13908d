#pragma once

#include <cstdint>
#include <vector>

#include "formats/aicpu.h"
#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `AicpuCollector`. The limits are tested when the collection begins.
struct AicpuSettings {
    static constexpr std::uint32_t kMaxCount = 2000;
    static constexpr std::uint32_t kMaxInterval = 60;

    AicpuJobs jobs;
    std::vector<AicpuProcess> processes;  // `aicpu_process` and `aicpu_cid`, paired
    std::uint32_t interval = 0;           // seconds between passes, 1 to kMaxInterval
    std::uint32_t count = 0;              // passes, 1 to kMaxCount
};

[[nodiscard]] const SettingKeys& AicpuCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after its line on the error stream;
// `settings` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadAicpuSettings(const JsonDocument& config, AicpuSettings& settings);

}  // namespace zarn
