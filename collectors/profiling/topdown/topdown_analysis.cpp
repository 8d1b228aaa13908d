#include "collectors/profiling/topdown/topdown_analysis.h"

#include <algorithm>
#include <cmath>

#include "collectors/profiling/topdown/top_metrics.h"
#include "foundation/text.h"

namespace zarn {
namespace {

bool RanksBefore(const MetricValues::value_type& a, const MetricValues::value_type& b) {
    if (std::isnan(a.second) != std::isnan(b.second)) {
        return std::isnan(b.second);
    }
    const bool areEqual = std::isnan(a.second) || a.second == b.second;
    return areEqual ? a.first < b.first : a.second > b.second;
}

}  // namespace

void AnalyzeMetrics(TopdownData& data) {
    (void)TopDown().Compute(data);
    MetricValues candidates;
    for (const auto& [fullName, value] : data.metrics) {
        if (data.thresholds[fullName]) {
            candidates.emplace_back(fullName, value);
        }
    }
    data.bottleneck = FindBottleneck(candidates, 0);
}

std::string FindBottleneck(const MetricValues& candidates, std::uint32_t depth) {
    MetricValues level;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(level),
                 [depth](const auto& candidate) {
                     return std::count(candidate.first.begin(), candidate.first.end(), '.') ==
                            static_cast<std::ptrdiff_t>(depth);
                 });
    if (level.empty()) {
        return {};
    }
    const std::string winner = std::min_element(level.begin(), level.end(), RanksBefore)->first;
    MetricValues below;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(below),
                 [&winner](const auto& candidate) { return StartsWith(candidate.first, winner); });
    const std::string deeper = FindBottleneck(below, depth + 1);
    return deeper.empty() ? winner : deeper;
}

}  // namespace zarn
