#pragma once

#include <string>

#include "formats/aicpu.h"
#include "foundation/json.h"

namespace zarn {

// The collector's record of a collection that began at `time`, as an event document.
[[nodiscard]] JsonDocument MakeAicpuRecordDocument(const AicpuRecord& record,
                                                   const std::string& time);

}  // namespace zarn
