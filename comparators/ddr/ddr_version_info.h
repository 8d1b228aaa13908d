#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "formats/ddr.h"

namespace zarn {

// The names of the comparison, in the order of its rows.
inline const std::vector<std::string>& ddrCompNameList = ddrNameList;

// QoS bounds of one bus master, GB/s.
struct DdrBwLimits {
    std::uint32_t bwHigh = 0;
    std::uint32_t bwLow = 0;
};

// Shares of one bus master, or of the total, in percent of the DDR's peak.
struct DdrBwUsage {
    double mean = 0.0;
    double max = 0.0;
    double min = 0.0;
    double over = 0.0;  // percent by which the mean exceeds bwHigh
};

// What the comparison knows of one version, by name.
struct DdrVersionInfo {
    bool loaded = false;  // false: the version's cells are empty
    std::map<std::string, DdrBwLimits> bwLimits;
    std::map<std::string, DdrBwUsage> bwUsage;
    std::string dirPath;  // root of its run, as the user wrote it
};

}  // namespace zarn
