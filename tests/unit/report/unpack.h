#pragma once

#include "foundation/json.h"

namespace zarn::test {

// Gives every cell, line and span of a report's data what the page in the browser gives it:
// moments, places, and the values that stand elsewhere.
void Unpack(JsonDocument& data);

}  // namespace zarn::test
