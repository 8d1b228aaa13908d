#pragma once

#include <string>
#include <vector>

#include "analyzers/mem/mem_extremes.h"
#include "analyzers/mem/mem_frames.h"
#include "kit/event_writer.h"

// The memory analyzer's documents: findings of one figure of the system, or of many processes.
namespace zarn {

// What was found in the frames of one figure; the indexes are those of its frames.
struct MemFindings {
    MemSummary summary;
    std::vector<std::size_t> peaks;
    std::vector<std::size_t> troughs;
};

// Opens a document up to the first element of its `content`; what follows is elements, then
// EndMemDocument.
void BeginMemDocument(std::string_view objectId, const std::string& happenTime,
                      EventWriter& events);
void EndMemDocument(EventWriter& events);

// An element: what was found in `frames`, whose moments index `moments`; of a process with its pid
// and command in front.
void WriteMemFindings(const MemProcess* process, const MemFrames& frames,
                      const std::vector<std::string>& moments, const MemFindings& findings,
                      EventWriter& events);

}  // namespace zarn
