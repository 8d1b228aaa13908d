#pragma once

#include <cstdint>
#include <string>

#include "collectors/system/cpu_peak/cpu_peak_settings.h"

namespace zarn {

// Of which cores a recording is made, and from which one.
struct PeakCores {
    std::string busy;         // numbers, parted by ","
    std::uint32_t quiet = 0;  // where the recorder runs, so that it takes no time of the others
};

// The shell command that records what the busy cores do into `path` and the suffix of recordings.
[[nodiscard]] std::string PeakRecordCommand(const PeakCores& cores, const CpuPeakSettings& settings,
                                            const std::string& path);

// The one that writes such a recording as text beside it.
[[nodiscard]] std::string PeakTextCommand(const std::string& path);

}  // namespace zarn
