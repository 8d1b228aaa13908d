#pragma once

#include "foundation/json.h"
#include "kit/setting_key.h"
#include "optimizer/options/optimizer_settings.h"

namespace zarn {

[[nodiscard]] const SettingKeys& DdrOptimizerKeys();

// Checks the section DdrOptimizer of the configuration `config`, an object, and fills `settings`.
// False after its lines; what was read before stays in `settings`. A section that is no object
// trips the JSON library's assertion, which ends the process.
[[nodiscard]] bool ReadOptimizerOptions(const JsonValue& config, OptimizerSettings& settings);

}  // namespace zarn
