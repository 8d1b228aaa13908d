#pragma once

#include "foundation/json.h"
#include "optimizer/search/pso_types.h"

namespace zarn {

// Reads `psoConf` of the optimizer's section into the settings of `state`. Bounds out of range are
// put right with a warning. False after its lines.
[[nodiscard]] bool ParsePsoConf(const JsonValue& section, PsoState& state);

}  // namespace zarn
