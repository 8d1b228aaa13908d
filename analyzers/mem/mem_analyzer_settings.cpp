#include "analyzers/mem/mem_analyzer_settings.h"

#include <algorithm>

#include "formats/mem.h"
#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr SectionWords kSectionWords = {
    "[MemAnalyzer] Error occurs: [MemAnalyzer] MemAnalyzer param is missing!",
    "[MemAnalyzer] Error occurs: Invalid MemAnalyzer param type",
};
constexpr const char* kChooseJob =
    "[MemAnalyzer]: Please correct choice job: [\"system_mem\", \"process_mem\"]";
constexpr JobWords kJobWords = {
    kChooseJob, "[MemAnalyzer]: Illegal job type!", "[MemAnalyzer]: Illegal job name: \"", "\"",
    kChooseJob,
};

const std::vector<std::string>& KnownJobs() {
    static const std::vector<std::string> jobs = {kSystemMemJob, kProcessMemJob};
    return jobs;
}

const std::vector<std::string>& SystemFields() {
    static const std::vector<std::string> fields(kMemSystemColumns.begin(),
                                                 kMemSystemColumns.end());
    return fields;
}

// The columns between the pid and the command.
const std::vector<std::string>& ProcessFields() {
    static const std::vector<std::string> fields(kMemProcessColumns.begin() + 1,
                                                 kMemProcessColumns.end() - 1);
    return fields;
}

// Takes one of `fields`; false after the line about it and the two that name the others.
bool ReadField(const JsonValue& value, const std::vector<std::string>& fields,
               const char* firstLine, const char* secondLine, std::string& field) {
    field = TextOf(value);
    if (std::find(fields.begin(), fields.end(), field) != fields.end()) {
        return true;
    }
    PrintError("[MemAnalyzer] " + field + " This field is not in the file.");
    PrintError(firstLine);
    return PrintFailure(secondLine);
}

bool ReadFields(const JsonValue& section, MemAnalyzerSettings& settings) {
    return ReadField(section["system_field"], SystemFields(),
                     "[MemAnalyzer] Please correct choice system_field: total, used, free, shared, "
                     "cache, avail,",
                     "pss, pagetable, slabInfo, hugetlb, kermod, kernelStack, sum",
                     settings.systemField) &&
           ReadField(section["process_field"], ProcessFields(),
                     "[MemAnalyzer] Please correct choice process_field: HugePages, RSS, PSS, USS, "
                     "SP_ALLOC, VSS,",
                     "VmData, VmStk, VmExe, VmLib, VmPTE, Threads, FDSize", settings.processField);
}

}  // namespace

const SettingKeys& MemAnalyzerKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words(KnownJobs(), Outside::Refused)
            .Means("what to analyse: the system, the processes"),
        SettingKey::Required("peak_trought_threshold", JsonType::Number)
            .Limits("above 0")
            .Means("how far from the mean a peak or trough must lie, as a share of the mean"),
        SettingKey::Required("system_field", JsonType::String)
            .Words(SystemFields(), Outside::Refused)
            .Means("the figure of the system"),
        SettingKey::Required("process_field", JsonType::String)
            .Words(ProcessFields(), Outside::Refused)
            .Means("the figure of the processes"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Means("the processes, as `COMMAND` names them; empty: all"),
    };
    return keys;
}

bool ReadMemAnalyzerSettings(const JsonDocument& config, const char* name,
                             MemAnalyzerSettings& settings) {
    const JsonValue* section = OpenSection(config, name, MemAnalyzerKeys(), kSectionWords);
    if (section == nullptr) {
        return false;
    }
    const JsonValue& jobs = (*section)["job"];
    if (jobs.Empty()) {
        return PrintFailure(kChooseJob);
    }
    if (!ReadStrings((*section)["process"], "[MemAnalyzer]: Illegal process!",
                     settings.processNames) ||
        !ReadJobs(jobs, KnownJobs(), kJobWords, settings.jobs)) {
        return false;
    }
    settings.peakTroughtThreshold = (*section)["peak_trought_threshold"].GetFloat();
    if (settings.peakTroughtThreshold <= 0.0F) {
        return PrintFailure(
            "[MemAnalyzer] peakTroughtThreshold should greater than 0. Please check.");
    }
    return ReadFields(*section, settings);
}

}  // namespace zarn
