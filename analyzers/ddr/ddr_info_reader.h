#pragma once

#include "analyzers/ddr/ddr_master_info.h"
#include "kit/event_reader.h"

// Readers of the DDR collector's two result files, one event document to a line. The first line
// that cannot be read ends the reading: false after its words, and what came before it stays.
namespace zarn {

// Sets the bounds of the masters that the QoS settings name.
[[nodiscard]] bool ReadQosSettings(const NextLine& next, DdrInfoMap& infos);

// Appends the shares of each sample, and its moment, to the entry of every name of ddrNameList.
[[nodiscard]] bool ReadBandwidthShares(const NextLine& next, DdrInfoMap& infos);

}  // namespace zarn
