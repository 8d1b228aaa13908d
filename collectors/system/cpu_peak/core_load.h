#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "collectors/system/cpu_peak/stat_counts.h"

namespace zarn {

// For which share of the time between two readings each core was idle, by its number. Waiting for
// input and output is no idling. `shares` is replaced. False if a core's total did not move, or
// went back: it has the cores before that one then. Of readings with different numbers of cores
// those count that are in both.
[[nodiscard]] bool IdleShares(const std::vector<CoreCounts>& before,
                              const std::vector<CoreCounts>& after, std::vector<float>& shares);

struct CoreChoice {
    std::string busy;                    // numbers, parted by ","
    std::optional<std::uint32_t> quiet;  // the number of the core most idle, if there is one
};

// The cores that were idle for less than the limit, and of the others the one most idle.
[[nodiscard]] CoreChoice ChooseCores(const std::vector<float>& idleShares, float idleLimit);

}  // namespace zarn
