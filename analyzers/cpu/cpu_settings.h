#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// A named group of commands whose load is looked at as one.
struct CpuProcessSet {
    std::string name;
    std::set<std::string> commands;  // at least one, none empty
};

// The configuration section of CpuAnalyzer, checked.
struct CpuAnalyzerSettings {
    std::set<std::string> jobs;              // "core", "global", "process_set"
    double peakRatio = 1.0;                  // a peak lies above the mean times this; 1 to 2
    double troughRatio = 1.0;                // a trough lies below the mean times this; 0 to 1
    std::vector<CpuProcessSet> processSets;  // in the order of the configuration, no name twice
    long processors = 0;                     // configured on this machine, at least 1
};

[[nodiscard]] const SettingKeys& CpuAnalyzerKeys();

// Gives the number of configured processors, or less than 1 if it cannot be had.
using ProcessorCount = std::function<long()>;

// Fills `settings` from the member "CpuAnalyzer" of `config`, an object. Prints the number of
// processors, and one line for the first rule that is broken; false then.
[[nodiscard]] bool ParseCpuAnalyzerSettings(const JsonDocument& config,
                                            const ProcessorCount& processorCount,
                                            CpuAnalyzerSettings& settings);

}  // namespace zarn
