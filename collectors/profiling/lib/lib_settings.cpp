#include "collectors/profiling/lib/lib_settings.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "LibCollector";
constexpr const char* kProcess = "process";
constexpr const char* kDuration = "duration";

}  // namespace

const SettingKeys& LibCollectorKeys() {
    static const SettingKeys keys = {
        SettingKey::Required(kProcess, JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Means("the processes to record, as `pidof` knows them"),
        SettingKey::Required(kDuration, JsonType::Unsigned)
            .Unit("s")
            .Means("length of each recording"),
    };
    return keys;
}

bool ReadLibSettings(const JsonDocument& config, std::uint32_t& duration) {
    const JsonValue* section = FindMember(config, kSection);
    if (section == nullptr || FirstMissingKey(*section, {kProcess, kDuration})) {
        return PrintFailure(
            "[LibCollector] LibCollector process or duration param missing! Both of process and "
            "duration param should be set in config!");
    }
    const JsonValue& processes = (*section)[kProcess];
    if (!processes.IsArray()) {
        return PrintFailure(
            "[LibCollector] Invalid LibCollector process param type! Should be array type!");
    }
    if (processes.Empty()) {
        return PrintFailure("[LibCollector] LibCollector process array is empty!");
    }
    if (!(*section)[kDuration].IsUint()) {
        return PrintFailure(
            "[LibCollector] Invalid LibCollector param type (duration)! Should be uint type!");
    }
    duration = (*section)[kDuration].GetUint();
    return true;
}

const JsonValue& LibProcesses(const JsonDocument& config) {
    return config[kSection][kProcess];
}

}  // namespace zarn
