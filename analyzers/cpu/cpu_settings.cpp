#include "analyzers/cpu/cpu_settings.h"

#include <algorithm>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "CpuAnalyzer";

constexpr SectionWords kSectionWords = {
    "[CpuAnalyzer] Error occurs: [CpuAnalyzer] CpuAnalyzer param is missing!",
    "[CpuAnalyzer] Error occurs: [CpuAnalyzer] Invalid CpuAnalyzer param type",
};
constexpr JobWords kJobWords = {
    "[CpuAnalyzer] The job cannot be empty!",
    "[CpuAnalyzer] Illegal job type!",
    "[CpuAnalyzer] Illegal job name: ",
};

bool ReadProcessorCount(const ProcessorCount& processorCount, long& processors) {
    processors = processorCount();
    if (processors < 1) {
        return PrintFailure("[CpuAnalyzer] Get CPU Cores failed!");
    }
    PrintLine("[CpuAnalyzer] Get CPU Cores = " + std::to_string(processors));
    return true;
}

bool ReadThreshold(double threshold, CpuAnalyzerSettings& settings) {
    if (threshold <= 0.0 || threshold >= 1.0) {
        return PrintFailure(
            "[CpuAnalyzer] The value range of peakTroughtThreshold is [0, 1). Please check "
            "config.");
    }
    settings.peakRatio = 1.0 + threshold;
    settings.troughRatio = 1.0 - threshold;
    return true;
}

bool ReadCommands(const JsonValue& list, CpuProcessSet& set) {
    if (!list.IsArray()) {
        return PrintFailure("[CpuAnalyzer] Illegal process set value! Should be array type!");
    }
    if (list.Empty()) {
        return PrintFailure("[CpuAnalyzer] The processSet " + set.name + " cannot be empty!");
    }
    for (const JsonValue& command : list.GetArray()) {
        if (!command.IsString() || command.GetStringLength() == 0) {
            return PrintFailure("[CpuAnalyzer] Illegal process! Should be non-space string!");
        }
        set.commands.insert(TextOf(command));
    }
    return true;
}

bool ReadProcessSets(const JsonValue& sets, std::vector<CpuProcessSet>& processSets) {
    std::set<std::string> names;
    for (const auto& member : sets.GetObject()) {
        if (!member.name.IsString()) {
            return PrintFailure("[CpuAnalyzer] Illegal process set key! Should be string type!");
        }
        CpuProcessSet set{TextOf(member.name), {}};
        if (!names.insert(set.name).second) {
            return PrintFailure("[CpuAnalyzer] Duplicate process set name! Should be unique!");
        }
        if (!ReadCommands(member.value, set)) {
            return false;
        }
        processSets.push_back(std::move(set));
    }
    return true;
}

}  // namespace

const SettingKeys& CpuAnalyzerKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({"global", "process_set", "core"}, Outside::Refused)
            .Means("the whole system and its busiest processes; the sets below; each core. Other "
                   "words are refused"),
        SettingKey::Required("peak_trought_threshold", JsonType::Floating)
            .Limits("above 0, below 1")
            .Unit("share of the mean")
            .Means("a peak lies above mean * (1 + threshold), a trough below mean * (1 - "
                   "threshold)"),
        SettingKey::Required("process_set", JsonType::Object)
            .Limits("may be empty; no array and no string in one is")
            .Means("name of a set to an array of the command names in it, as they end a row of "
                   "`top` (of a name with blanks the last word)"),
    };
    return keys;
}

bool ParseCpuAnalyzerSettings(const JsonDocument& config, const ProcessorCount& processorCount,
                              CpuAnalyzerSettings& settings) {
    const JsonValue* section = OpenSection(config, kSection, CpuAnalyzerKeys(), kSectionWords);
    return section != nullptr &&
           ReadJobs((*section)["job"], {"core", "global", "process_set"}, kJobWords,
                    settings.jobs) &&
           ReadProcessorCount(processorCount, settings.processors) &&
           ReadThreshold((*section)["peak_trought_threshold"].GetDouble(), settings) &&
           ReadProcessSets((*section)["process_set"], settings.processSets);
}

}  // namespace zarn
