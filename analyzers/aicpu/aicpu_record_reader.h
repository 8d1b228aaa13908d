#pragma once

#include <string_view>

#include "formats/aicpu.h"

namespace zarn {

enum class RecordResult {
    Ok,
    NoJson,     // torn, or more than one document
    BadFormat,  // a member is missing, or has another type than the collector gives it
};

// Reads the collector's record, the text of the whole file. Unless Ok, `record` is untouched.
[[nodiscard]] RecordResult ReadAicpuRecord(std::string_view text, AicpuRecord& record);

}  // namespace zarn
