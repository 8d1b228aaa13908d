#pragma once

#include <string>
#include <vector>

#include "analyzers/mem/mem_frames.h"
#include "kit/event_reader.h"

// Readers of the memory collector's documents, one to a line. The first line that cannot be read
// ends the reading: false after its words, which name `path`, and what came before it stays. A time
// stamp or value that is no string ends the process.
namespace zarn {

// Appends the moment of each sample and the figure `field` of the system.
[[nodiscard]] bool ReadMemSystemSamples(const NextLine& next, const std::string& path,
                                        const std::string& field, MemSystemSamples& samples);

// What is wanted of the processes.
struct MemProcessQuery {
    std::string field;
    std::vector<std::string> commands;  // empty: all
};

// Appends the moment of each sample and, to each process that is wanted, the figure without the "K"
// at its end. Processes that are not wanted must be whole, too.
[[nodiscard]] bool ReadMemProcessSamples(const NextLine& next, const std::string& path,
                                         const MemProcessQuery& query, MemProcessSamples& samples);

}  // namespace zarn
