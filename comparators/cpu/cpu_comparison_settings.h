#pragma once

#include <set>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The section `CpuComparator`.
struct CpuComparisonSettings {
    static constexpr const char* kGlobalJob = "global";
    static constexpr const char* kSelectedProcessJob = "selected_process";

    std::set<std::string> jobs;          // names without a meaning do nothing
    std::vector<std::string> processes;  // command names in the order written, each once

    [[nodiscard]] bool Has(const char* job) const { return jobs.count(job) != 0; }
};

[[nodiscard]] const SettingKeys& CpuComparatorKeys();

// Replaces `settings` by those of `config`, an object. False after its line on the error stream. A
// section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadCpuComparisonSettings(const JsonDocument& config,
                                             CpuComparisonSettings& settings);

}  // namespace zarn
