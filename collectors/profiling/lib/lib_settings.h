#pragma once

#include <cstdint>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

[[nodiscard]] const SettingKeys& LibCollectorKeys();

// Reads the section LibCollector but for the names of its processes: the length of a recording in
// seconds. False after its line if the section is incomplete or illegal.
[[nodiscard]] bool ReadLibSettings(const JsonDocument& config, std::uint32_t& duration);

// The array of names of a section that was read; its elements are not tested.
[[nodiscard]] const JsonValue& LibProcesses(const JsonDocument& config);

}  // namespace zarn
