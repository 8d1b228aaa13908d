#include "collectors/profiling/hot_fun/hot_fun_settings.h"

#include <optional>

#include "formats/hot_fun.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "kit/section.h"

namespace zarn {
namespace {

using hot_fun_files::kCore;
using hot_fun_files::kFunctionSet;
using hot_fun_files::kGlobal;
using hot_fun_files::kProcess;

constexpr const char* kSection = "HotFunCollector";

constexpr JobWords kJobWords = {
    nullptr,
    "[HotFunCollector] Illegal job type! Should be string type!",
    "[HotFunCollector] Illegal job! Should be choosen from [global, core, function_set, process]!",
    nullptr,
};

bool ReadJobList(const JsonDocument& config, HotFunSettings& settings) {
    const JsonValue* section = FindMember(config, kSection);
    const JsonValue* jobs = section == nullptr ? nullptr : FindMember(*section, "job");
    if (jobs == nullptr) {
        return PrintFailure("[HotFunCollector] HotFunCollector job param not exist!");
    }
    if (!jobs->IsArray()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type! Should be array type!");
    }
    return !jobs->Empty() &&
           ReadJobs(*jobs, {kGlobal, kCore, kFunctionSet, kProcess}, kJobWords, settings.jobs);
}

bool ReadProcesses(const JsonValue& section, HotFunSettings& settings) {
    const JsonValue* processes = FindMember(section, kProcess);
    if (processes == nullptr) {
        return PrintFailure("[HotFunCollector] HotFunCollector process param missing!");
    }
    if (!processes->IsArray()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (process)! Should be array "
            "type!");
    }
    return ReadStrings(*processes,
                       "[HotFunCollector] Invalid HotFunCollector process type (process)! Should "
                       "be string type!",
                       settings.processes);
}

// The number of the machine's last core; -1 on one that lists none.
std::optional<std::int64_t> LastCore(CommandRunner& runner) {
    std::string output;
    if (!ExecuteCommand("cat /proc/cpuinfo| grep \"processor\"| wc -l", output, runner)) {
        PrintError("[HotFunCollector] Failed to get core num!");
        return std::nullopt;
    }
    if (!output.empty()) {
        output.pop_back();  // the newline
    }
    std::uint32_t count = 0;
    if (!IsDigitString(output) || !StringToUint32(output, count)) {
        PrintError("[HotFunCollector] core number command result is not number!");
        return std::nullopt;
    }
    return static_cast<std::int64_t>(count) - 1;
}

bool ReadCores(const JsonValue& section, CommandRunner& runner, HotFunSettings& settings) {
    const JsonValue* cores = FindMember(section, kCore);
    if (cores == nullptr) {
        return PrintFailure("[HotFunCollector] HotFunCollector core param missing!");
    }
    if (!cores->IsArray()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (core)! Should be array type!");
    }
    const std::optional<std::int64_t> last = LastCore(runner);
    if (!last) {
        return false;
    }
    for (const JsonValue& core : cores->GetArray()) {
        if (!core.IsUint()) {
            return PrintFailure(
                "[HotFunCollector] Invalid HotFunCollector param type (core)! Should be unsigned "
                "int type!");
        }
        if (core.GetUint() > *last) {
            return PrintFailure(
                "[HotFunCollector] Invalid HotFunCollector param value (core)! Max legual input "
                "on this device is: " +
                std::to_string(*last));
        }
        settings.cores.push_back(std::to_string(core.GetUint()));
    }
    return true;
}

bool ReadFunctions(const JsonValue& functions, const std::string& set, FunctionSets& sets) {
    if (!functions.IsArray()) {
        return PrintFailure("[HotFunCollector] Illegal function set value! Should be array type!");
    }
    for (const JsonValue& function : functions.GetArray()) {
        if (!function.IsString()) {
            return PrintFailure("[HotFunCollector] Illegal function type! Should be string type!");
        }
        sets.Add(set, TextOf(function));
    }
    return true;
}

bool ReadFunctionSets(const JsonValue& section, HotFunSettings& settings) {
    const JsonValue* sets = FindMember(section, kFunctionSet);
    if (sets == nullptr) {
        return PrintFailure("[HotFunCollector] HotFunCollector function_set param missing!");
    }
    if (!sets->IsObject()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (function_set)! Should be an "
            "Object of target function sets!");
    }
    for (const auto& set : sets->GetObject()) {
        if (!set.name.IsString()) {
            return PrintFailure(
                "[HotFunCollector] Illegal function set key! Should be string type!");
        }
        const std::string name = TextOf(set.name);
        if (!settings.functionSets.AddSet(name)) {
            return PrintFailure("[HotFunCollector] Duplicate function set name! Should be unique!");
        }
        if (!ReadFunctions(set.value, name, settings.functionSets)) {
            return false;
        }
    }
    return true;
}

bool ReadOptions(const JsonValue& section, CommandRunner& runner, HotFunSettings& settings) {
    if (FirstMissingKey(section, {"json_output", "duration", "top"})) {
        return PrintFailure(
            "[HotFunCollector] HotFunCollector param missing! Please make sure json_output, "
            "duration, top existing!");
    }
    if ((settings.Wants(kProcess) && !ReadProcesses(section, settings)) ||
        (settings.Wants(kCore) && !ReadCores(section, runner, settings)) ||
        (settings.Wants(kFunctionSet) && !ReadFunctionSets(section, settings))) {
        return false;
    }
    if (!section["json_output"].IsBool()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (json_output)! Should be bool "
            "type!");
    }
    if (!section["duration"].IsUint()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (duration)! Should be uint "
            "type!");
    }
    if (!section["top"].IsUint()) {
        return PrintFailure(
            "[HotFunCollector] Invalid HotFunCollector param type (top)! Should be uint type!");
    }
    settings.jsonOutput = section["json_output"].GetBool();
    settings.duration = section["duration"].GetUint();
    settings.top = section["top"].GetUint();
    return true;
}

}  // namespace

const SettingKeys& HotFunCollectorKeys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({kGlobal, kCore, kFunctionSet, kProcess}, SettingKey::Outside::Refused)
            .Means("what to record: the system, cores, the system for the shares of function sets, "
                   "processes"),
        SettingKey::Required("json_output", JsonType::Bool)
            .Means("whether documents are made of the recordings"),
        SettingKey::Required("duration", JsonType::Unsigned)
            .Unit("s")
            .Means("length of each recording"),
        SettingKey::Required("top", JsonType::Unsigned)
            .Unit("rows")
            .Means("how many functions each document shows at most"),
        SettingKey::Required(kCore, JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("below the number of processors; may be empty")
            .Means("for \"core\" alone: the cores"),
        SettingKey::Required(kProcess, JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"process\" alone: the processes, as `pidof` knows them"),
        SettingKey::Required(kFunctionSet, JsonType::Object)
            .Limits("may be empty")
            .Means("for \"function_set\" alone: name of a set to an array of strings, "
                   "[names or regular expressions](#fields-and-units)"),
    };
    return keys;
}

bool ReadHotFunSettings(const JsonDocument& config, CommandRunner& runner,
                        HotFunSettings& settings) {
    HotFunSettings read;
    if (!ReadJobList(config, read)) {
        return PrintFailure("[HotFunCollector] Failed to check hotFun job list!");
    }
    if (!ReadOptions(config[kSection], runner, read)) {
        return PrintFailure("[HotFunCollector] Failed to check hotFun option!");
    }
    settings = read;
    return true;
}

}  // namespace zarn
