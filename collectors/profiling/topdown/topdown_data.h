#pragma once

#include <set>
#include <string>
#include <unordered_map>

namespace zarn {

// The working record of one analysis. Metrics are called by their full names, such as
// "Backend_Bound.Memory_Bound".
struct TopdownData {
    std::unordered_map<std::string, float> events;     // name of a counter to its total
    std::unordered_map<std::string, float> metrics;    // filled by the metrics
    std::unordered_map<std::string, bool> thresholds;  // whether a metric counts in the search
    std::string bottleneck;             // the metric that the search picked; empty if there is none
    std::set<std::string> toldMissing;  // lines about names that are not there
};

// The value of that name; 0, or false, for one that is not there, which is told on the error stream
// once in an analysis.
[[nodiscard]] float GetEvent(const std::string& name, TopdownData& data);
[[nodiscard]] float GetMetric(const std::string& fullName, TopdownData& data);
[[nodiscard]] bool GetThresh(const std::string& fullName, TopdownData& data);

}  // namespace zarn
