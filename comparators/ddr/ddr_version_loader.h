#pragma once

#include <string>

#include "comparators/ddr/ddr_version_info.h"

namespace zarn {

// Reads what the run tree info.dirPath of `version` holds into `info`: the QoS settings, and the
// usage from the analysis or, without one, from the collector's shares. Tells each step; false
// after the line of the step that failed. Does not touch info.loaded.
[[nodiscard]] bool LoadDdrVersion(const std::string& version, DdrVersionInfo& info);

}  // namespace zarn
