#include "collectors/system/cpu/cpu_settings.h"

#include <optional>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "CpuCollector";
constexpr const char* kIllegalString = "[CpuCollector] Illegal job type, should be string.";

// The name of what is missing: the section, or the first of its keys.
std::optional<std::string> MissingPart(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kSection);
    return section == nullptr ? std::string(kSection)
                              : FirstMissingKey(*section, {"job", "interval", "process", "count",
                                                           "thread_collector", "json_output"});
}

}  // namespace

const SettingKeys& CpuCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words({"global", "core", "selected_process"}, Outside::PassedOver)
            .Means("which logs to file beside the two that are always filed. Another word is "
                   "passed over with a warning"),
        SettingKey::Required("interval", JsonType::Number)
            .Limits("above 0, not checked")
            .Unit("s")
            .Means("from one sample to the next, as `top -d` takes it; six decimals count"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Means("command names for \"selected_process\""),
        SettingKey::Required("count", JsonType::Unsigned)
            .Within(0, kMaxCpuSamples, Outside::Adjusted)
            .Limits("0 to 600; more becomes 600, with a message")
            .Unit("samples")
            .Means("how many samples; with 0 no log and no document is written"),
        SettingKey::Required("thread_collector", JsonType::Bool)
            .Means("also ask `ps` for the threads of every process, in each pass: see [its "
                   "cost](#the-cost-of-thread_collector)"),
        SettingKey::Required("json_output", JsonType::Bool)
            .Means("also write a document for each sample"),
    };
    return keys;
}

bool ReadCpuSettings(const JsonDocument& config, CpuSettings& settings) {
    const std::optional<std::string> missing = MissingPart(config);
    if (missing) {
        PrintError("[CpuCollector] Failed to parse '" + *missing + "' field in config file.");
        return PrintFailure("[CpuCollector] Error occurs: Invalid CpuCollector param type");
    }
    const JsonValue& section = config[kSection];
    if (!ReadStrings(section["job"], kIllegalString, settings.job)) {
        return false;
    }
    settings.interval = section["interval"].GetDouble();
    settings.count = section["count"].GetUint();
    if (settings.count > kMaxCpuSamples) {
        PrintLine("[CpuCollector] over the CPU collect counts limit, resize it to 600");
        settings.count = kMaxCpuSamples;
    }
    if (!ReadStrings(section["process"], kIllegalString, settings.process)) {
        return false;
    }
    settings.threadCollector = section["thread_collector"].GetBool();
    settings.jsonOutput = section["json_output"].GetBool();
    return true;
}

}  // namespace zarn
