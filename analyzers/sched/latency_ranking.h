#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/sched.h"
#include "kit/event_reader.h"

// Rows of latency reports, ordered by the moments of their greatest delays.
namespace zarn {

// The cells of a row by kSchedLatencyColumns.
using LatencyCells = std::array<std::string, kSchedLatencyColumns.size()>;
inline constexpr std::size_t kTaskCell = 0;
inline constexpr std::size_t kMaxDelayCell = 4;
inline constexpr std::size_t kMaxDelayAtCell = 5;

// The first `topN` rows of a report that are not idle, in order of time. A line that is no row
// prints its line and is left out.
[[nodiscard]] std::vector<LatencyCells> ReadTopTasks(const NextLine& next, std::uint32_t topN);

// All rows of a log without head and end, in the same way.
[[nodiscard]] std::vector<LatencyCells> ReadTaskThreads(const NextLine& next);

// The name and the tid in the first cell of a thread's line, "name:tid", and that cell. The name
// may hold ":" itself; without one there is no tid.
struct LatencyThread {
    std::string cell;
    std::string name;
    std::string tid;
};
[[nodiscard]] LatencyThread ReadLatencyThread(std::string_view line);

}  // namespace zarn
