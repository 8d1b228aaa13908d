#pragma once

#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "foundation/json.h"

namespace zarn {

// Checks `manualMode` of the optimizer's section and appends one record per position of its four
// lists to `configs`. Bounds and switches out of range are put right with a warning. False after
// its lines; `configs` then holds the positions before the bad one.
[[nodiscard]] bool ParseManualMode(const JsonValue& section, std::vector<QosConfig>& configs);

}  // namespace zarn
