#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "collectors/profiling/topdown/topdown_data.h"

namespace zarn {

// Computes all metrics from the record's counters and picks the bottleneck among those that count.
// What cannot be computed is told on the error stream and left out.
void AnalyzeMetrics(TopdownData& data);

// Full names and values of metrics.
using MetricValues = std::vector<std::pair<std::string, float>>;

// Of the candidates whose names have `depth` dots the greatest, then the same below it, down to the
// deepest: its name, or an empty one if no candidate has so many dots. Equal values go by their
// names; one that is no number comes behind all others.
[[nodiscard]] std::string FindBottleneck(const MetricValues& candidates, std::uint32_t depth);

}  // namespace zarn
