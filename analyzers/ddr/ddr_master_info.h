#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zarn {

// What is known of one bus master, or of `total`, the sum of all. Shares are percent of the DDR's
// peak.
struct DdrMasterInfo {
    std::string name;
    double meanBw = 0.0;
    double maxBw = 0.0;
    double minBw = 100.0;
    std::uint32_t bwHigh = 0;  // QoS bounds, GB/s; 0: none known
    std::uint32_t bwLow = 0;
    double over = 0.0;                          // percent by which the mean exceeds bwHigh
    std::vector<double> values;                 // one per sample
    std::vector<double> peaks;                  // values of local maxima
    std::vector<double> troughs;                // and minima
    std::vector<std::int32_t> peakIntervals;    // seconds between successive peaks
    std::vector<std::string> timeStamps;        // parallel to `values`
    std::vector<std::string> peakTimeStamps;    // parallel to `peaks`
    std::vector<std::string> troughTimeStamps;  // parallel to `troughs`
};

using DdrInfoMap = std::map<std::string, DdrMasterInfo>;

// Process-wide, by name: filled once per process and never cleared, so that a second DdrAnalyzer
// adds to it. Unguarded: analyzers run one after the other on the main thread.
extern DdrInfoMap ddrInfoMap;

}  // namespace zarn
