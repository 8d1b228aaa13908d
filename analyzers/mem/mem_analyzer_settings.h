#pragma once

#include <set>
#include <string>
#include <vector>

#include "kit/setting_key.h"

namespace zarn {

inline constexpr const char* kSystemMemJob = "system_mem";
inline constexpr const char* kProcessMemJob = "process_mem";

// The section of the memory analyzer.
struct MemAnalyzerSettings {
    std::set<std::string> jobs;             // of the two above
    float peakTroughtThreshold = 0.0F;      // distance of peaks and troughs from the mean / mean
    std::string systemField = "used";       // the figure of the system
    std::string processField = "PSS";       // that of the processes
    std::vector<std::string> processNames;  // commands; empty: all

    [[nodiscard]] bool Wants(const char* job) const { return jobs.count(job) != 0; }
};

[[nodiscard]] const SettingKeys& MemAnalyzerKeys();

// Reads the section `name` of `config`. False after its lines if a key is missing or has a value
// that is not allowed; `settings` then holds some of them.
[[nodiscard]] bool ReadMemAnalyzerSettings(const JsonDocument& config, const char* name,
                                           MemAnalyzerSettings& settings);

}  // namespace zarn
