#pragma once

#include <map>
#include <string>
#include <vector>

#include "comparators/mem/mem_version_info.h"

// The comparator's tables as text: three columns for each version, "N/A" in them where it has no
// values.
namespace zarn {

using MemVersions = std::map<std::string, MemVersionInfo>;

// A row for each figure of the system.
[[nodiscard]] std::string MemSystemTable(const MemVersions& versions);

// A block for each of the processes, in their order: two head lines and a row for each figure.
[[nodiscard]] std::string MemProcessTable(const MemVersions& versions,
                                          const std::vector<std::string>& commands);

}  // namespace zarn
