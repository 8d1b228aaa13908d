#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/system/cpu/cpu_samples_parser.h"
#include "foundation/json.h"

namespace zarn {

// The rows of ps about the threads of a process, by its pid.
using CpuThreadRows = std::map<std::string, CpuRows, std::less<>>;

// What the documents are made of. A list whose job is off is empty.
struct CpuDocumentSources {
    const CpuLog& global;
    const CpuLog& cores;
    const std::vector<CpuRows>& top10;     // rows of ps
    const std::vector<CpuRows>& selected;  // rows of ps
    const CpuThreadRows& threadRowsByPid;
};

// The event document of sample `sampleIndex`, made of the batches of that index; a source that has
// none adds nothing. A null document if the sample has no valid time. The document's strings refer
// to `sources`, which must outlive it, and so have no NUL at their end.
[[nodiscard]] JsonDocument BuildCpuJson(const CpuDocumentSources& sources,
                                        const CpuSampleTimes& topTimes, std::size_t sampleIndex);

// "1.0 us, 2.0 sy, ..." to "1.0 2.0 ...": of each part between commas the first token, if there is
// a second one and the first is a decimal number.
[[nodiscard]] std::string ParseCpuNumbers(std::string_view text);

}  // namespace zarn
