#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "board/model/pipeline.h"

// The events that perf knows by the same names on every processor, as the board's has them. Pure
// functions.
namespace zarn::board {

enum class StandardEvent : std::size_t {
    Cycles,
    Instructions,
    Branches,
    BranchMisses,
    FrontendStalls,
    BackendStalls,
    CacheReferences,
    CacheMisses,
    LastLoads,
    LastLoadMisses,
    LastStores,
    LastStoreMisses,
    FirstLoads,
    FirstLoadMisses,
    FirstStores,
    FirstStoreMisses,
    DataTlbLoads,
    DataTlbLoadMisses,
    CodeTlbLoads,
    CodeTlbLoadMisses,
};

inline constexpr std::size_t kStandardEventCount = 20;

// The names, in the order of StandardEvent.
inline constexpr std::array<std::string_view, kStandardEventCount> kStandardEventNames{
    "cycles",
    "instructions",
    "branches",
    "branch-misses",
    "stalled-cycles-frontend",
    "stalled-cycles-backend",
    "cache-references",
    "cache-misses",
    "LLC-loads",
    "LLC-load-misses",
    "LLC-stores",
    "LLC-store-misses",
    "L1-dcache-loads",
    "L1-dcache-load-misses",
    "L1-dcache-stores",
    "L1-dcache-store-misses",
    "dTLB-loads",
    "dTLB-load-misses",
    "iTLB-loads",
    "iTLB-load-misses"};

[[nodiscard]] std::optional<StandardEvent> StandardEventOf(std::string_view name);

// A number for each event: a count, or what a cycle brings of it.
class StandardCounts {
public:
    [[nodiscard]] double& operator[](StandardEvent event) {
        return values_[static_cast<std::size_t>(event)];
    }
    [[nodiscard]] double operator[](StandardEvent event) const {
        return values_[static_cast<std::size_t>(event)];
    }
    void Add(const StandardCounts& others, double factor) {
        for (std::size_t i = 0; i < kStandardEventCount; ++i) {
            values_[i] += others.values_[i] * factor;
        }
    }

private:
    std::array<double, kStandardEventCount> values_{};
};

// What a cycle of the program brings of each event when the memory serves 1 / `stretch` of what is
// asked for. No misses exceed what they are misses of.
[[nodiscard]] StandardCounts StandardRatesPerCycle(const PipelineProfile& profile, double stretch);

}  // namespace zarn::board
