#pragma once

#include <string>

#include "formats/aicpu.h"
#include "foundation/json.h"

// Job names, which the collector's section and the analyzer's have in common.
namespace zarn {

inline constexpr const char* kAicpuCoreJob = "core";
inline constexpr const char* kAicpuEventJob = "event";
inline constexpr const char* kAicpuAbnormalJob = "abnormal";

// Turns the switch of that job on. Any other name prints its line on the error stream, and nothing
// else becomes of it.
void AicpuCommon(const std::string& job, AicpuJobs& jobs);

// The same for all of `list`, an array. False after `wordsIfNotString` at the first element that is
// no string; what was before it stays on.
[[nodiscard]] bool ReadAicpuJobs(const JsonValue& list, const char* wordsIfNotString,
                                 AicpuJobs& jobs);

}  // namespace zarn
