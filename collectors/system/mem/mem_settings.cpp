#include "collectors/system/mem/mem_settings.h"

#include "foundation/console.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr const char* kSection = "MemCollector";
constexpr const char* kSystemMem = "system_mem";
constexpr const char* kProcessMem = "process_mem";

constexpr SectionWords kSectionWords = {
    "[MemCollector]: Error occurs: [MemCollector] MemCollector param is missing!",
    "[MemCollector]: Error occurs: Invalid MemCollector param type",
};
constexpr const char* kChooseJob =
    R"([MemCollector]: Please correct choice job: ["system_mem", "process_mem"])";

bool CheckLimits(const MemSettings& settings) {
    if (settings.count < 1 || settings.count > MemSettings::kMaxCount) {
        return PrintFailure("[MemCollector] mem collect count cannot be 0 or larger than 2000!");
    }
    if (settings.interval < 1 || settings.interval > MemSettings::kMaxInterval) {
        return PrintFailure("[MemCollector] mem collect interval cannot be 0s or larger than 60s!");
    }
    return true;
}

// Unlike those of other missions these names may be written in any case.
bool ReadJobsOf(const JsonValue& list, MemSettings& settings) {
    if (list.Empty()) {
        return PrintFailure(kChooseJob);
    }
    for (const JsonValue& job : list.GetArray()) {
        if (!job.IsString()) {
            return PrintFailure("[MemCollector]: Illegal job type!");
        }
        const std::string name = TextOf(job);
        if (EqualsIgnoreCase(name, kSystemMem)) {
            settings.systemMemJob = true;
        } else if (EqualsIgnoreCase(name, kProcessMem)) {
            settings.processMemJob = true;
        } else {
            PrintError("[MemCollector]: Illegal job name: \"" + name + "\"");
            return PrintFailure(kChooseJob);
        }
    }
    return true;
}

}  // namespace

const SettingKeys& MemCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({kSystemMem, kProcessMem}, Outside::Refused)
            .Means("what to sample: the memory of the system, of processes. Case does not count"),
        SettingKey::Required("count", JsonType::Unsigned)
            .Within(1, MemSettings::kMaxCount, Outside::Refused)
            .Unit("samples")
            .Means("how many samples"),
        SettingKey::Required("interval", JsonType::Unsigned)
            .Within(1, MemSettings::kMaxInterval, Outside::Refused)
            .Unit("s")
            .Means("from the end of one sample to the next; also waited after the last one"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"process_mem\": the processes to watch, as `pidof` knows them. If none of "
                   "them runs, [all are watched](#edges)"),
    };
    return keys;
}

bool ReadMemSettings(const JsonDocument& config, MemSettings& settings) {
    const JsonValue* section = OpenSection(config, kSection, MemCollectorKeys(), kSectionWords);
    if (section == nullptr) {
        return false;
    }
    MemSettings read;
    read.count = (*section)["count"].GetUint();
    read.interval = (*section)["interval"].GetUint();
    if (!CheckLimits(read) ||
        !ReadStrings((*section)["process"], "[MemCollector]: Illegal process!",
                     read.processNames) ||
        !ReadJobsOf((*section)["job"], read)) {
        return false;
    }
    settings = read;
    return true;
}

}  // namespace zarn
