#include "comparators/cpu/cpu_comparison_settings.h"

#include <algorithm>

namespace zarn {
namespace {

constexpr const char* kSection = "CpuComparator";
constexpr SectionWords kSectionWords = {
    "[CpuComparator] Failed to parse config file, at least one of the field CpuComparator, job, or "
    "process does not exist.",
    "[CpuComparator] One of the following field is not valid: job or process is not an array.",
    "[CpuComparator] Error occurs: Invalid CpuComparator param type",
};

}  // namespace

const SettingKeys& CpuComparatorKeys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words({"global", "selected_process"}, SettingKey::Outside::PassedOver)
            .Means("the figures of the whole system; those of named processes. Other words do "
                   "nothing"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Means("command names, as they end a row of `top`. A name written twice counts once"),
    };
    return keys;
}

bool ReadCpuComparisonSettings(const JsonDocument& config, CpuComparisonSettings& settings) {
    settings = {};
    const JsonValue* section = OpenSection(config, kSection, CpuComparatorKeys(), kSectionWords);
    std::vector<std::string> jobs;
    std::vector<std::string> processes;
    if (section == nullptr ||
        !ReadStrings((*section)["job"], "[CpuComparator] Illegal job type, should be string.",
                     jobs) ||
        !ReadStrings((*section)["process"],
                     "[CpuComparator] Illegal process type, should be string.", processes)) {
        return false;
    }
    settings.jobs.insert(jobs.begin(), jobs.end());
    for (const std::string& process : processes) {
        if (std::find(settings.processes.begin(), settings.processes.end(), process) ==
            settings.processes.end()) {
            settings.processes.push_back(process);
        }
    }
    return true;
}

}  // namespace zarn
