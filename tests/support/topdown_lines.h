#pragma once

#include <map>
#include <string>

// Counter files as perf leaves them for the topdown collector.
namespace zarn::test {

// Two intervals of all counters, in perf's order: those given by their raw codes, each interval
// the half of what they come to, and 0 for all others.
[[nodiscard]] std::string CounterFile(const std::map<std::string, int>& totals);

// Those of a system that waits for its memory: L1_Bound is its bottleneck.
[[nodiscard]] std::string MemoryBoundCounterFile();

}  // namespace zarn::test
