#include "analyzers/cpu/cpu_settings.h"

#include <algorithm>
#include <stdexcept>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "CpuAnalyzer";

// The section, with all keys present and of their types; throws std::invalid_argument otherwise.
const JsonValue& CheckedSection(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kSection);
    if (section == nullptr ||
        FirstMissingKey(*section, {"job", "peak_trought_threshold", "process_set"})) {
        throw std::invalid_argument("[CpuAnalyzer] CpuAnalyzer param is missing!");
    }
    if (!AllHaveType(*section, {{"job", JsonType::Array},
                                {"peak_trought_threshold", JsonType::Floating},
                                {"process_set", JsonType::Object}})) {
        throw std::invalid_argument("[CpuAnalyzer] Invalid CpuAnalyzer param type");
    }
    return *section;
}

bool ReadJobs(const JsonValue& list, std::map<std::string, bool>& jobs) {
    if (list.Empty()) {
        PrintError("[CpuAnalyzer] The job cannot be empty!");
        return false;
    }
    for (const JsonValue& job : list.GetArray()) {
        if (!job.IsString()) {
            PrintError("[CpuAnalyzer] Illegal job type!");
            return false;
        }
        const std::string name(job.GetString(), job.GetStringLength());
        const auto known = jobs.find(name);
        if (known == jobs.end()) {
            PrintError("[CpuAnalyzer] Illegal job name: " + name);
            return false;
        }
        known->second = true;
    }
    return true;
}

bool ReadProcessorCount(const ProcessorCount& processorCount, long& processors) {
    processors = processorCount();
    if (processors < 1) {
        PrintError("[CpuAnalyzer] Get CPU Cores failed!");
        return false;
    }
    PrintLine("[CpuAnalyzer] Get CPU Cores = " + std::to_string(processors));
    return true;
}

bool ReadThreshold(double threshold, CpuAnalyzerSettings& settings) {
    if (threshold <= 0.0 || threshold >= 1.0) {
        PrintError(
            "[CpuAnalyzer] The value range of peakTroughtThreshold is [0, 1). Please check "
            "config.");
        return false;
    }
    settings.peakRatio = 1.0 + threshold;
    settings.troughRatio = 1.0 - threshold;
    return true;
}

bool ReadCommands(const JsonValue& list, CpuProcessSet& set) {
    if (!list.IsArray()) {
        PrintError("[CpuAnalyzer] Illegal process set value! Should be array type!");
        return false;
    }
    if (list.Empty()) {
        PrintError("[CpuAnalyzer] The processSet " + set.name + " cannot be empty!");
        return false;
    }
    for (const JsonValue& command : list.GetArray()) {
        if (!command.IsString() || command.GetStringLength() == 0) {
            PrintError("[CpuAnalyzer] Illegal process! Should be non-space string!");
            return false;
        }
        set.commands.emplace(command.GetString(), command.GetStringLength());
    }
    return true;
}

bool ReadProcessSets(const JsonValue& sets, std::vector<CpuProcessSet>& processSets) {
    std::set<std::string> names;
    for (const auto& member : sets.GetObject()) {
        if (!member.name.IsString()) {
            PrintError("[CpuAnalyzer] Illegal process set key! Should be string type!");
            return false;
        }
        CpuProcessSet set{{member.name.GetString(), member.name.GetStringLength()}, {}};
        if (!names.insert(set.name).second) {
            PrintError("[CpuAnalyzer] Duplicate process set name! Should be unique!");
            return false;
        }
        if (!ReadCommands(member.value, set)) {
            return false;
        }
        processSets.push_back(std::move(set));
    }
    return true;
}

}  // namespace

bool ParseCpuAnalyzerSettings(const JsonDocument& config, const ProcessorCount& processorCount,
                              CpuAnalyzerSettings& settings) {
    try {
        const JsonValue& section = CheckedSection(config);
        return ReadJobs(section["job"], settings.jobs) &&
               ReadProcessorCount(processorCount, settings.processors) &&
               ReadThreshold(section["peak_trought_threshold"].GetDouble(), settings) &&
               ReadProcessSets(section["process_set"], settings.processSets);
    } catch (const std::invalid_argument& error) {
        PrintError(std::string("[CpuAnalyzer] Error occurs: ") + error.what());
        return false;
    }
}

}  // namespace zarn
