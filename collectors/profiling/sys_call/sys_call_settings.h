#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// What the section SysCallCollector asks for.
struct SysCallSettings {
    std::vector<std::string> processes;  // names
    std::uint32_t duration = 0;          // of the trace, s
    bool savesDetails = false;           // whether the document lists each call
};

[[nodiscard]] const SettingKeys& SysCallCollectorKeys();

// Reads the section; false after its line if it is incomplete or illegal.
[[nodiscard]] bool ReadSysCallSettings(const JsonDocument& config, SysCallSettings& settings);

}  // namespace zarn
