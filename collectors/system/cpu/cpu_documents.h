#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/system/cpu/cpu_samples_parser.h"
#include "kit/event_writer.h"

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

// Writes the event document of sample `sampleIndex`, made of the batches of that index; a source
// that has none adds nothing. False, and no document, if the sample has no valid time.
[[nodiscard]] bool BuildCpuJson(const CpuDocumentSources& sources, const CpuSampleTimes& topTimes,
                                std::size_t sampleIndex, EventWriter& events);

// "1.0 us, 2.0 sy, ..." to "1.0 2.0 ...": of each part between commas the first token, if there is
// a second one and the first is a decimal number.
[[nodiscard]] std::string ParseCpuNumbers(std::string_view text);

}  // namespace zarn
