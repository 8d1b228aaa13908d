#include "collectors/device/aicpu/aicpu_settings.h"

#include "collectors/device/aicpu/aicpu_common.h"
#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "AicpuCollector";

constexpr SectionWords kSectionWords = {
    "[AicpuCollector] Error occurs: Lack of required fields.",
    "[AicpuCollector] Error occurs: Invalid AicpuCollector param type",
};

bool ReadProcesses(const JsonValue& names, const JsonValue& cores,
                   std::vector<AicpuProcess>& processes) {
    bool good = names.Size() == cores.Size();
    for (rapidjson::SizeType i = 0; good && i < names.Size(); ++i) {
        good = names[i].IsString() && cores[i].IsUint();
        if (good) {
            AicpuProcess& process = processes.emplace_back();
            process.name = TextOf(names[i]);
            process.core = cores[i].GetUint();
        }
    }
    return good ||
           PrintFailure("[AicpuCollector] Fail to parse aicpu_process and aicpu_cid in config!");
}

}  // namespace

const SettingKeys& AicpuCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("aicpu_job", JsonType::Array)
            .Of(JsonType::String)
            .Words({kAicpuCoreJob, kAicpuEventJob, kAicpuAbnormalJob}, Outside::PassedOver)
            .Means("what to copy of the complex, beside the attributes of the processes"),
        SettingKey::Required("aicpu_process", JsonType::Array)
            .Of(JsonType::String)
            .Means("processes, as `proc_list` names them; each is [part of a regular "
                   "expression](#edges)"),
        SettingKey::Required("aicpu_cid", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("as many as processes; each a core of the complex")
            .Means("the core to look at for each process, paired by place"),
        SettingKey::Required("interval", JsonType::Unsigned)
            .Limits("1 to 60")
            .Unit("s")
            .Means("from the end of one pass to the next; also waited after the last one"),
        SettingKey::Required("count", JsonType::Unsigned)
            .Limits("1 to 2000")
            .Unit("passes")
            .Means("how many passes, for each process"),
    };
    return keys;
}

bool ReadAicpuSettings(const JsonDocument& config, AicpuSettings& settings) {
    const JsonValue* section = OpenSection(config, kSection, AicpuCollectorKeys(), kSectionWords);
    if (section == nullptr) {
        return false;
    }
    AicpuSettings read;
    read.interval = (*section)["interval"].GetUint();
    read.count = (*section)["count"].GetUint();
    if (!ReadAicpuJobs((*section)["aicpu_job"], "[AicpuCollector] Illegal aicpu_job type!",
                       read.jobs) ||
        !ReadProcesses((*section)["aicpu_process"], (*section)["aicpu_cid"], read.processes)) {
        return false;
    }
    settings = read;
    return true;
}

}  // namespace zarn
