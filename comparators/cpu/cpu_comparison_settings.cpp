#include "comparators/cpu/cpu_comparison_settings.h"

#include <algorithm>
#include <stdexcept>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "CpuComparator";
constexpr const char* kJob = "job";
constexpr const char* kProcess = "process";

[[noreturn]] void Refuse(const char* words) {
    PrintError(words);
    throw std::invalid_argument("Invalid CpuComparator param type");
}

// The section, which has both arrays.
const JsonValue& FindSection(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kSection);
    if (section == nullptr || FirstMissingKey(*section, {kJob, kProcess})) {
        Refuse(
            "[CpuComparator] Failed to parse config file, at least one of the field CpuComparator, "
            "job, or process does not exist.");
    }
    if (!AllHaveType(*section, {{kJob, JsonType::Array}, {kProcess, JsonType::Array}})) {
        Refuse(
            "[CpuComparator] One of the following field is not valid: job or process is not an "
            "array.");
    }
    return *section;
}

}  // namespace

bool ReadCpuComparisonSettings(const JsonDocument& config, CpuComparisonSettings& settings) {
    settings = {};
    try {
        const JsonValue& section = FindSection(config);
        std::vector<std::string> jobs;
        std::vector<std::string> processes;
        if (!ReadStrings(section[kJob], "[CpuComparator] Illegal job type, should be string.",
                         jobs) ||
            !ReadStrings(section[kProcess],
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
    } catch (const std::invalid_argument& error) {
        PrintError(std::string("[CpuComparator] Error occurs: ") + error.what());
        return false;
    }
}

}  // namespace zarn
