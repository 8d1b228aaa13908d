#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/system/cpu_samples_parser.h"
#include "foundation/json.h"

namespace zarn {

// The event document of sample `sampleIndex`, made of the batches of that index; a list that has
// none, or is empty because its job is off, adds nothing. A null document if the sample has no
// valid time. The document's strings refer to the text behind `lists`, which must outlive it.
[[nodiscard]] JsonDocument BuildCpuJson(const CpuSampleLists& lists, const CpuSampleTimes& topTimes,
                                        std::size_t sampleIndex);

// "1.0 us, 2.0 sy, ..." to "1.0 2.0 ...": of each part between commas the first token, if there is
// a second one and the first is a decimal number.
[[nodiscard]] std::string ParseCpuNumbers(std::string_view text);

}  // namespace zarn
