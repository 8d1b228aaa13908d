#pragma once

#include <cstdint>

#include "board/model/masters.h"

// How the memory controller shares the DDR's bandwidth among the partitions. Pure functions.
namespace zarn::board {

inline constexpr double kMbPerGb = 1024.0;
inline constexpr std::uint32_t kPeakGb = 51;
// MB/s the DDR gives at most.
inline constexpr double kPeakMb = kPeakGb * kMbPerGb;

// The upper bound that marks a partition which was never configured.
inline constexpr std::uint32_t kUnsetHigh = 101;

// A partition's setting. A partition never configured (high == kUnsetHigh) shares without bounds.
struct PartitionSetting {
    std::uint32_t low = 0;         // GB/s reserved, as far as they are asked for
    std::uint32_t high = kPeakGb;  // GB/s at most; beyond kPeakGb counts as kPeakGb
    std::uint32_t hardlimit = 1;   // 0: `high` may be exceeded when nobody else wants the rest
    std::uint32_t priority = 5;    // weight in the sharing of what is not reserved, 0 to 7
};

// Priorities the device takes.
inline constexpr std::uint32_t kMaxPriority = 7;

// MB/s granted to each partition, given what each asks for and how it is set, in three steps:
//   1. reserve: each gets min(demand, low, ceiling), all scaled down alike if they exceed the peak;
//   2. share: the rest goes to those below min(demand, high), in proportion to
//      (priority + 1) * what is still missing there, nobody beyond it;
//   3. lend: what then remains goes, in the same proportion, to those without a hard limit that
//   still
//      lack some of their demand.
// The sum never exceeds kPeakMb, nobody gets more than asked for, and a hard limit is never
// exceeded.
[[nodiscard]] PerMaster<double> ShareBandwidth(const PerMaster<double>& demands,
                                               const PerMaster<PartitionSetting>& settings);

}  // namespace zarn::board
