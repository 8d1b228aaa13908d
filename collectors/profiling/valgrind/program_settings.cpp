#include "collectors/profiling/valgrind/program_settings.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kPrograms = "process";
constexpr const char* kDuration = "duration";
constexpr const char* kLaunchSection = "ProcessRunSetting";

SettingKeys KeysOf(const char* meaning, const char* duration) {
    return {
        SettingKey::Required(kPrograms, JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Means(meaning),
        SettingKey::Required(kDuration, JsonType::Unsigned).Unit("s").Means(duration),
    };
}

bool CheckPresence(const JsonValue& section, const ProgramWords& words) {
    const JsonValue* programs = FindMember(section, kPrograms);
    if (programs == nullptr) {
        return PrintFailure(words.noPrograms);
    }
    if (!programs->IsArray()) {
        return PrintFailure(words.programsNoArray);
    }
    if (FindMember(section, kDuration) == nullptr) {
        return PrintFailure(words.noDuration);
    }
    return !programs->Empty() || PrintFailure(words.programsEmpty);
}

bool ReadDuration(const JsonValue& section, const ProgramWords& words, std::uint32_t& duration) {
    const JsonValue& value = section[kDuration];
    if (!value.IsUint()) {
        return PrintFailure(words.durationNoNumber);
    }
    duration = value.GetUint();
    return true;
}

}  // namespace

const SettingKeys& LaunchedProgramsKeys() {
    static const SettingKeys keys = KeysOf(
        "the programs to start, members of "
        "[ProcessRunSetting](../configuration.md#processrunsetting)",
        "how long a program runs before `valgrind` is interrupted");
    return keys;
}

const SettingKeys& RunningProcessesKeys() {
    static const SettingKeys keys =
        KeysOf("the processes, as `pidof` knows them", "length of each recording");
    return keys;
}

bool ReadLaunchedPrograms(const JsonDocument& config, const char* name, const ProgramWords& words,
                          LaunchedPrograms& settings) {
    const JsonValue* section = FindMember(config, name);
    if (section == nullptr || FindMember(config, kLaunchSection) == nullptr) {
        return PrintFailure(words.noSection);
    }
    if (!CheckPresence(*section, words)) {
        return false;
    }
    for (const JsonValue& element : (*section)[kPrograms].GetArray()) {
        if (!element.IsString()) {
            return PrintFailure(words.programNoString);
        }
        const std::string program = TextOf(element);
        if (CheckProcessRunSetting(config, program, name)) {
            settings.programs[program] = ReadLaunchSetting(config, program);
        } else {
            PrintError(words.programSkipped);
        }
    }
    return ReadDuration(*section, words, settings.duration);
}

bool ReadRunningProcesses(const JsonDocument& config, const char* name, const ProgramWords& words,
                          RunningProcesses& settings) {
    const JsonValue* section = FindMember(config, name);
    if (section == nullptr) {
        return PrintFailure(words.noSection);
    }
    return CheckPresence(*section, words) &&
           ReadStrings((*section)[kPrograms], words.programNoString, settings.names) &&
           ReadDuration(*section, words, settings.duration);
}

}  // namespace zarn
