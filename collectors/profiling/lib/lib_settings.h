#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

[[nodiscard]] const SettingKeys& LibCollectorKeys();

// Reads the section LibCollector but for the names of its processes: the length of a recording in
// seconds. False after its line if the section is incomplete or illegal.
[[nodiscard]] bool ReadLibSettings(const JsonDocument& config, std::uint32_t& duration);

// The names, in their order, of a section that was read. One that is no string trips the JSON
// library's assertion, which ends the process.
[[nodiscard]] std::vector<std::string> LibProcesses(const JsonDocument& config);

}  // namespace zarn
