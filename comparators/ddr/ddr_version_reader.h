#pragma once

#include <vector>

#include "comparators/ddr/ddr_version_info.h"
#include "kit/event_reader.h"

// Readers of the DDR results of a version, one event document to a line. The first line that cannot
// be read ends the reading: false after its words, and what came before it stays.
namespace zarn {

// The collector's QoS settings: the bounds of the masters it names.
[[nodiscard]] bool ReadVersionLimits(const NextLine& next, DdrVersionInfo& info);

// The analyzer's document: the usage of the masters it names. A later line replaces an earlier one.
[[nodiscard]] bool ReadVersionAnalysis(const NextLine& next, DdrVersionInfo& info);

// The collector's shares: appends those of ddrCompNameList[i] to values[i].
[[nodiscard]] bool ReadVersionShares(const NextLine& next,
                                     std::vector<std::vector<double>>& values);

// The usage that follows from all shares of one name. Where it has an upper bound the excess is
// computed in single precision throughout.
[[nodiscard]] DdrBwUsage ComputeUsage(const std::vector<double>& shares, std::uint32_t bwHigh);

}  // namespace zarn
