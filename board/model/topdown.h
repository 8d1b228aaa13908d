#pragma once

#include <map>
#include <string>

#include "board/model/cpu_events.h"

namespace zarn::board {

// What counts say of the pipeline: where its slots went, level by level, by the names of the levels
// joined by dots.
struct Topdown {
    std::map<std::string, double> metrics;
    std::string bottleneck;  // the deepest name that the largest values lead to
};

// Empty without cycles.
[[nodiscard]] Topdown TopdownOf(const CpuCounts& counts);

}  // namespace zarn::board
