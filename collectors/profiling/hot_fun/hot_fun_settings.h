#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "collectors/profiling/hot_fun/function_sets.h"
#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// What the section HotFunCollector asks for.
struct HotFunSettings {
    std::set<std::string> jobs;  // of "core", "process", "global", "function_set"
    bool jsonOutput = false;
    std::uint32_t duration = 0;          // of each recording, s
    std::uint32_t top = 0;               // rows of each result
    std::vector<std::string> cores;      // numbers, as they are written
    std::vector<std::string> processes;  // names
    FunctionSets functionSets;

    [[nodiscard]] bool Wants(const char* job) const { return jobs.count(job) != 0; }
};

[[nodiscard]] const SettingKeys& HotFunCollectorKeys();

// Reads the section; false after its lines if it is incomplete or illegal. What belongs to a job
// that is not asked for is not looked at. The number of processors is asked from the machine.
[[nodiscard]] bool ReadHotFunSettings(const JsonDocument& config, CommandRunner& runner,
                                      HotFunSettings& settings);

}  // namespace zarn
