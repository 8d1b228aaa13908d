#pragma once

#include "formats/aicpu.h"
#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

[[nodiscard]] const SettingKeys& AicpuAnalyzerKeys();

// Reads the section `AicpuAnalyzer` of `config`, an object. False after its line on the error
// stream; `jobs` is untouched then.
[[nodiscard]] bool ReadAicpuAnalyzerSettings(const JsonDocument& config, AicpuJobs& jobs);

}  // namespace zarn
