#pragma once

#include <string_view>

#include "analyzers/ddr_master_info.h"

// Readers of the DDR collector's two result files, one event document to a line. The first line
// that cannot be read ends the reading: false after its words, and what came before it stays.
namespace zarn {

// Sets the bounds of the masters that the QoS settings name.
[[nodiscard]] bool ReadQosSettings(std::string_view text, DdrInfoMap& infos);

// Appends the shares of each sample, and its moment, to the entry of every name of ddrNameList.
[[nodiscard]] bool ReadBandwidthShares(std::string_view text, DdrInfoMap& infos);

}  // namespace zarn
