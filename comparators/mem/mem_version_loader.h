#pragma once

#include <string>
#include <vector>

#include "comparators/mem/mem_version_info.h"

namespace zarn {

// Finds and reads what the run tree `root` holds of the system, or of the processes `commands`.
// False after the line or lines about what cannot be had; the result is untouched then.
[[nodiscard]] bool LoadMemSystem(const std::string& root, MemVersionInfo& info);
[[nodiscard]] bool LoadMemProcesses(const std::string& root,
                                    const std::vector<std::string>& commands, MemVersionInfo& info);

}  // namespace zarn
