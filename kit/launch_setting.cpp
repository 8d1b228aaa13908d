#include "kit/launch_setting.h"

#include <algorithm>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "ProcessRunSetting";
constexpr const char* kBinPath = "bin_path";
constexpr const char* kVariables = "env_variables";
constexpr const char* kLauncher = "rungate";
constexpr const char* kGroup = "rungate_alloc_group";

// What the section tells of a program. The whole name counts, NUL bytes too.
const JsonValue* FindProgram(const JsonDocument& config, const std::string& name) {
    const JsonValue& section = config[kSection];
    const auto member = section.FindMember(name);
    return member == section.MemberEnd() ? nullptr : &member->value;
}

bool CheckVariables(const JsonValue& variables, const std::string& name, const std::string& head) {
    const auto hasKey = [](const auto& variable) { return variable.name.IsString(); };
    const auto hasValue = [](const auto& variable) { return variable.value.IsString(); };
    const auto members = variables.GetObject();
    if (!std::all_of(members.begin(), members.end(), hasKey)) {
        return PrintFailure(head + "] Env_variables key of process:" + name +
                            "is not string, please set it to string type");
    }
    return std::all_of(members.begin(), members.end(), hasValue) ||
           PrintFailure(head + "] Env_variables value of process:" + name +
                        "is not string, please set it to string type");
}

}  // namespace

bool CheckRunSettingPresence(const JsonDocument& config, const std::string& name,
                             const std::string& tag) {
    const std::string head = "[" + tag;
    const JsonValue* program = FindProgram(config, name);
    if (program == nullptr) {
        return PrintFailure(head + "] Process run setting missing for process:" + name + "!");
    }
    if (FindMember(*program, kBinPath) == nullptr) {
        return PrintFailure(head + "] Bin path missing for process:" + name + "!");
    }
    if ((FindMember(*program, kLauncher) == nullptr) != (FindMember(*program, kGroup) == nullptr)) {
        return PrintFailure(head + "] Rungate setting of process:" + name +
                            " is not paired, please set \"rungate\" and \"rungate_alloc_group\" at "
                            "the same time or delete both of them!");
    }
    if (FindMember(*program, kVariables) == nullptr) {
        return PrintFailure(head + "] Env_variables missing for process:" + name + "!");
    }
    return true;
}

bool CheckRunSettingTypes(const JsonDocument& config, const std::string& name,
                          const std::string& tag) {
    const std::string head = "[" + tag;
    const JsonValue& program = *FindProgram(config, name);
    if (!program[kBinPath].IsString()) {
        return PrintFailure(head + "] Bin path of process:" + name +
                            " is not string, please set a string type path!");
    }
    if (const JsonValue* launcher = FindMember(program, kLauncher)) {
        if (!launcher->IsBool()) {
            return PrintFailure(head + "] Rungate setting of process:" + name +
                                " is not bool, please set it to bool type!");
        }
        if (!program[kGroup].IsString()) {
            return PrintFailure(head + "] Rungate_alloc_group setting of process:" + name +
                                " is not string, please set it to string type!");
        }
    }
    if (!program[kVariables].IsObject()) {
        return PrintFailure(head + "] Env_variables setting of process:" + name +
                            " is not object, please set it to be an object!");
    }
    return CheckVariables(program[kVariables], name, head);
}

bool CheckProcessRunSetting(const JsonDocument& config, const std::string& name,
                            const std::string& tag) {
    return CheckRunSettingPresence(config, name, tag) && CheckRunSettingTypes(config, name, tag);
}

LaunchSetting ReadLaunchSetting(const JsonDocument& config, const std::string& name) {
    const JsonValue& program = *FindProgram(config, name);
    LaunchSetting setting;
    setting.binPath = TextOf(program[kBinPath]);
    for (const auto& variable : program[kVariables].GetObject()) {
        setting.exports.push_back("export " + TextOf(variable.name) + "=" + TextOf(variable.value));
    }
    if (const JsonValue* group = FindMember(program, kGroup)) {
        setting.allocationGroup = TextOf(*group);
    }
    return setting;
}

std::string LaunchCommand(const LaunchSetting& setting, const std::string& tool) {
    std::string command;
    for (const std::string& variable : setting.exports) {
        command += variable + " && ";
    }
    return setting.allocationGroup ? command + "rungate " + tool + setting.binPath +
                                         " --allocGroup=" + *setting.allocationGroup
                                   : command + tool + setting.binPath;
}

}  // namespace zarn
