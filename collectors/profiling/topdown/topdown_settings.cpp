#include "collectors/profiling/topdown/topdown_settings.h"

#include <algorithm>

#include "foundation/commands.h"
#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "TopdownCollector";

}  // namespace

const SettingKeys& TopdownCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({topdown_jobs::kGlobal, topdown_jobs::kCore, topdown_jobs::kProcess},
                   Outside::Refused)
            .Means("what to measure, one after the other: the whole system, cores, processes"),
        SettingKey::Required("core", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("not empty for \"core\"")
            .Means("for \"core\": the numbers of the cores"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Limits("not empty for \"process\"")
            .Means("for \"process\": the processes, as `pidof` knows them"),
        SettingKey::Required("duration", JsonType::Unsigned)
            .Unit("s")
            .Means("how long each core, each process and the system are measured"),
    };
    return keys;
}

const JsonValue* OpenTopdownSection(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kSection);
    const SettingKeys& keys = TopdownCollectorKeys();
    const auto isThere = [section](const SettingKey& key) {
        return FindMember(*section, key.Path().c_str()) != nullptr;
    };
    if (section == nullptr || !std::all_of(keys.begin(), keys.end(), isThere)) {
        PrintError(
            "[TopdownCollector]: Error occurs: [TopdownCollector] TopdownCollector param is "
            "missing!");
        return nullptr;
    }
    return section;
}

bool CheckTopdownProcess(const JsonValue& section) {
    const JsonValue* names = FindMember(section, "process");
    if (names == nullptr) {
        return PrintFailure("[TopdownCollector] TopdownCollector process param missing!");
    }
    if (!names->IsArray()) {
        return PrintFailure(
            "[TopdownCollector] Invalid TopdownCollector param type (process)! Should be array "
            "type!");
    }
    const auto isText = [](const JsonValue& name) { return name.IsString(); };
    return std::all_of(names->Begin(), names->End(), isText) ||
           PrintFailure(
               "[TopdownCollector] Invalid TopdownCollector process type (process)! Should be "
               "string type!");
}

bool CheckTopdownCore(const JsonValue& section, CommandRunner& runner) {
    const JsonValue* cores = FindMember(section, "core");
    if (cores == nullptr) {
        return PrintFailure("[TopdownCollector] TopdownCollector core param missing!");
    }
    if (!cores->IsArray()) {
        return PrintFailure(
            "[TopdownCollector] Invalid TopdownCollector param type (core)! Should be array type!");
    }
    for (const JsonValue& core : cores->GetArray()) {
        if (!core.IsUint()) {
            return PrintFailure(
                "[TopdownCollector] Invalid TopdownCollector param type (core)! Should be uint "
                "type!");
        }
        if (!CheckCoreId(core.GetUint(), runner)) {
            return PrintFailure("[TopdownCollector] Invalid TopdownCollector core " +
                                std::to_string(core.GetUint()) + " !");
        }
    }
    return true;
}

bool CheckTopdownDuration(const JsonValue& section) {
    const JsonValue* duration = FindMember(section, "duration");
    if (duration == nullptr) {
        return PrintFailure("[TopdownCollector] TopdownCollector duration param not exist!");
    }
    return duration->IsUint() ||
           PrintFailure(
               "[TopdownCollector] Invalid TopdownCollector param type (duration)! Should be uint "
               "type!");
}

bool ReadTopdownJobs(const JsonDocument& config, TopdownJobs& jobs) {
    const JsonValue* section = FindMember(config, kSection);
    const JsonValue* list = section == nullptr ? nullptr : FindMember(*section, "job");
    if (list == nullptr) {
        return PrintFailure("[TopdownCollector] TopdownCollector job param not exist!");
    }
    if (!list->IsArray()) {
        return PrintFailure(
            "[TopdownCollector] Invalid TopdownCollector param type! Should be array type!");
    }
    if (list->Empty()) {
        return PrintFailure("[TopdownCollector] The job cannot be empty!");
    }
    for (const JsonValue& element : list->GetArray()) {
        if (!element.IsString()) {
            return PrintFailure("[TopdownCollector] Illegal job type!");
        }
        const auto job = jobs.find(TextOf(element));
        if (job == jobs.end()) {
            return PrintFailure(
                "[TopdownCollector] Illegal job! Should be chosen from [global, core, process]!");
        }
        job->second = true;
    }
    return true;
}

}  // namespace zarn
