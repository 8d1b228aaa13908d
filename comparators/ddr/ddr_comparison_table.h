#pragma once

#include <map>
#include <string>

#include "comparators/ddr/ddr_version_info.h"

namespace zarn {

// The table as text: the head line of "version_id" and the versions, then
// six rows for each name of ddrCompNameList. A name that a loaded version does not know counts as
// 0.
[[nodiscard]] std::string DdrComparisonTable(const std::map<std::string, DdrVersionInfo>& versions);

}  // namespace zarn
