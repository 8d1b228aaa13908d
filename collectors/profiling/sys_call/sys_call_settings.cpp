#include "collectors/profiling/sys_call/sys_call_settings.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kProcess = "process";
constexpr const char* kDuration = "duration";
constexpr const char* kDetails = "saveDetailsToJson";

// A key of the section, and what is said where it is absent or of another type.
struct KeyWords {
    KeyRule rule;
    const char* absent;
    const char* wrongType;
};

constexpr KeyWords kKeys[] = {
    {{kProcess, JsonType::Array},
     "[SysCallCollector] Process list for SysCallCollector does not exist!",
     "[SysCallCollector] Invalid type of process! It should be array type!"},
    {{kDuration, JsonType::Unsigned},
     "[SysCallCollector] Duration setting for SysCallCollector does not exist!",
     "[SysCallCollector] Invalid type of duration! It should be uint type!"},
    {{kDetails, JsonType::Bool},
     "[SysCallCollector] SaveDetailsToJson setting for SysCallCollector does not exist!",
     "[SysCallCollector] Invalid type of SaveDetailsToJson! It should be bool type!"},
};

bool HasItsKeys(const JsonValue& section) {
    for (const KeyWords& key : kKeys) {
        const JsonValue* value = FindMember(section, key.rule.key);
        if (value == nullptr) {
            return PrintFailure(key.absent);
        }
        if (!HasType(*value, key.rule.type)) {
            return PrintFailure(key.wrongType);
        }
    }
    return true;
}

}  // namespace

const SettingKeys& SysCallCollectorKeys() {
    static const SettingKeys keys = {
        SettingKey::Required(kProcess, JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Means("the processes to trace, as `pidof` knows them"),
        SettingKey::Required(kDuration, JsonType::Unsigned)
            .Unit("s")
            .Means("how long all are traced; 0: until they end"),
        SettingKey::Required(kDetails, JsonType::Bool)
            .Means("whether the document lists each call"),
    };
    return keys;
}

bool ReadSysCallSettings(const JsonDocument& config, SysCallSettings& settings) {
    const JsonValue* section = FindMember(config, "SysCallCollector");
    if (section == nullptr) {
        return PrintFailure("[SysCallCollector] SysCallCollector param does not exist!");
    }
    if (!HasItsKeys(*section)) {
        return false;
    }
    SysCallSettings read;
    const JsonValue& processes = (*section)[kProcess];
    if (processes.Empty()) {
        return PrintFailure("[SysCallCollector] Process array is empty!");
    }
    if (!ReadStrings(processes,
                     "[SysCallCollector] Invalid type of process element! It should be string "
                     "type!",
                     read.processes)) {
        return false;
    }
    read.duration = (*section)[kDuration].GetUint();
    read.savesDetails = (*section)[kDetails].GetBool();
    settings = read;
    return true;
}

}  // namespace zarn
