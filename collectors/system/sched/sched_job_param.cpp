#include "collectors/system/sched/sched_job_param.h"

#include <algorithm>
#include <exception>
#include <initializer_list>

#include "foundation/commands.h"
#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "SchedCollector";
constexpr const char* kGroup = "sched";
constexpr const char* kProcessLabel = "sched_process";

// ---- The list of jobs

bool TakeJobs(const JsonValue& list, SchedJobParam& param) {
    for (const JsonValue& element : list.GetArray()) {
        if (!element.IsString()) {
            return PrintFailure(
                "[SchedCollector] Invalid SchedCollector job element, it should be a string!");
        }
        const auto job = param.jobs.find(TextOf(element));
        if (job == param.jobs.end()) {
            return PrintFailure(
                "[SchedCollector] Invalid SchedCollector job name:" + TextOf(element) +
                ", it should be global, core, process, priority_affinity or lite!");
        }
        job->second = true;
    }
    return true;
}

bool SetJobs(const JsonDocument& config, SchedJobParam& param) {
    const JsonValue* section = FindMember(config, kSection);
    const JsonValue* list = section == nullptr ? nullptr : FindMember(*section, "job");
    if (list == nullptr) {
        return PrintFailure("[SchedCollector] SchedCollector job param not exist!");
    }
    if (!list->IsArray()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector job type, it should be an array!");
    }
    try {
        return TakeJobs(*list, param);
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[SchedCollector] Error occurs when set job: ") +
                            error.what());
    }
}

// ---- Presence

bool HasAll(const JsonValue& object, std::initializer_list<const char*> keys) {
    return !FirstMissingKey(object, keys);
}

bool HasPublicParameters(const JsonValue& section) {
    const JsonValue* group = FindMember(section, kGroup);
    if (group == nullptr) {
        return PrintFailure(
            "[SchedCollector] SchedCollector global, core and process job must include public "
            "parameters [sched] in config!");
    }
    if (!HasAll(*group, {"is_call_record", "duration"})) {
        return PrintFailure(
            "[SchedCollector] SchedCollector global, core and process job must include public "
            "parameters is_call_record, duration at [sched] in config!");
    }
    return HasAll(*group, {"topN", "sorted"}) ||
           PrintFailure(
               "[SchedCollector] SchedCollector global, core and process job must include public "
               "parameters topN, sorted at [sched] in config!");
}

bool HasOwnParameters(const JsonValue& section, const SchedJobParam& param) {
    if (param.Has(kSchedCoreJob) && !HasAll(section[kGroup], {"coreID"})) {
        return PrintFailure(
            "[SchedCollector] SchedCollector core job must include coreID at [sched] in config!");
    }
    return !param.Has(kSchedProcessJob) || HasAll(section[kGroup], {"process"}) ||
           PrintFailure(
               "[SchedCollector] SchedCollector process job must include process at [sched] in "
               "config!");
}

bool HasPriorityParameters(const JsonValue& section) {
    const JsonValue* group = FindMember(section, kSchedPriorityJob);
    if (group == nullptr) {
        return PrintFailure(
            "[SchedCollector] SchedCollector priority_affinity job must include parameter "
            "[priority_affinity] in config!");
    }
    return HasAll(*group, {"process", "thread"}) ||
           PrintFailure(
               "[SchedCollector] SchedCollector priority_affinity job must include parameter "
               "process and thread at [priority_affinity] in config!");
}

bool HasLiteParameters(const JsonValue& section) {
    const JsonValue* group = FindMember(section, kSchedLiteJob);
    if (group == nullptr) {
        return PrintFailure(
            "[SchedCollector] SchedCollector lite job must include parameters [lite] in config!");
    }
    return HasAll(*group, {"lite_duration_second", "lite_threshold_ms"}) ||
           PrintFailure(
               "[SchedCollector] SchedCollector lite job must include parameters "
               "lite_duration_second and lite_threshold_ms at [lite] in config!");
}

bool HasPerfJob(const SchedJobParam& param) {
    return param.Has(kSchedGlobalJob) || param.Has(kSchedCoreJob) || param.Has(kSchedProcessJob);
}

bool HasParameters(const JsonValue& section, const SchedJobParam& param) {
    if (HasPerfJob(param) && !HasPublicParameters(section)) {
        return PrintFailure(
            "[SchedCollector] SchedCollector global, core and process job does not include public "
            "parameters is_call_record, duration, topN, sorted at [sched] in config!");
    }
    if (!HasOwnParameters(section, param)) {
        return PrintFailure(
            "[SchedCollector] SchedCollector core or process job does not include its parameters "
            "in config!");
    }
    return (!param.Has(kSchedPriorityJob) || HasPriorityParameters(section)) &&
           (!param.Has(kSchedLiteJob) || HasLiteParameters(section));
}

// ---- Types and values

bool CheckDuration(const JsonValue& duration) {
    if (!duration.IsUint()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector duration type at [sched], it should be "
            "unsigned integer!");
    }
    return duration.GetUint() <= SchedJobParam::kDurationLimit ||
           PrintFailure("[SchedCollector] Invalid SchedCollector duration value: " +
                        std::to_string(duration.GetUint()) +
                        " at [sched], it should less than 600 !");
}

bool CheckSorted(const JsonValue& sorted) {
    if (!sorted.IsString()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector sorted at [sched], it should be a string!");
    }
    const std::string key = TextOf(sorted);
    return key == "max" || key == "avg" ||
           PrintFailure("[SchedCollector] Invalid SchedCollector sorted:  " + key +
                        " at [sched], it should be max or avg and be a string!");
}

// Of a member that is missing the type is asked all the same, whichever jobs are listed: that ends
// the process.
bool CheckPublic(const JsonValue& group) {
    if (!group["is_call_record"].IsBool()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector is_call_record type at [sched], it should be "
            "a bool!");
    }
    if (!CheckDuration(group["duration"])) {
        return false;
    }
    const JsonValue& topN = group["topN"];
    if (!topN.IsUint() || topN.GetUint() > SchedJobParam::kTopNLimit) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector topN type at [sched], it should be unsigned "
            "integer and less than 1000!");
    }
    return CheckSorted(group["sorted"]);
}

bool CheckPriority(const JsonValue& group) {
    if (!group["process"].IsArray()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector process type at [priority_affinity], it "
            "should be an array!");
    }
    const JsonValue& threads = group["thread"];
    if (!threads.IsArray()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector thread type at [priority_affinity], it should "
            "be an array!");
    }
    const auto isText = [](const JsonValue& thread) { return thread.IsString(); };
    return std::all_of(threads.Begin(), threads.End(), isText) ||
           PrintFailure(
               "[SchedCollector] Invalid SchedCollector thread element at [priority_affinity], it "
               "should be a string!");
}

bool CheckLite(const JsonValue& group) {
    if (!group["lite_duration_second"].IsUint64()) {
        return PrintFailure(
            "[SchedCollector] Invalid SchedCollector lite_duration_second type, it should be "
            "unsigned integer!");
    }
    return group["lite_threshold_ms"].IsUint64() ||
           PrintFailure(
               "[SchedCollector] Invalid SchedCollector lite_threshold_ms type, it should be "
               "unsigned integer!");
}

bool CheckJobShapes(const JsonValue& section, const SchedJobParam& param) {
    if (param.Has(kSchedCoreJob) && !section[kGroup]["coreID"].IsArray()) {
        PrintError(
            "[SchedCollector] Invalid SchedCollector coreID type at [sched], it should be an "
            "array!");
        return PrintFailure("[SchedCollector] Invalid SchedCollector core param!");
    }
    if (param.Has(kSchedProcessJob) && !section[kGroup]["process"].IsArray()) {
        PrintError(
            "[SchedCollector] Invalid SchedCollector process type at [sched], it should be an "
            "array!");
        return PrintFailure("[SchedCollector] Invalid SchedCollector process param!");
    }
    if (param.Has(kSchedPriorityJob) && !CheckPriority(section[kSchedPriorityJob])) {
        return PrintFailure("[SchedCollector] Invalid SchedCollector priority_affinity param!");
    }
    return !param.Has(kSchedLiteJob) || CheckLite(section[kSchedLiteJob]) ||
           PrintFailure("[SchedCollector] Invalid SchedCollector lite param!");
}

bool CheckParameters(const JsonValue& section, const SchedJobParam& param) {
    if (!HasParameters(section, param)) {
        return false;
    }
    if (!CheckPublic(section[kGroup])) {
        return PrintFailure("[SchedCollector] Invalid SchedCollector public param!");
    }
    return CheckJobShapes(section, param);
}

// ---- Reading

// Of several pids, which `pidof` parts by blanks, none is taken.
bool IsOnePid(const std::string& text) {
    return text.find_first_not_of("0123456789\n\r") == std::string::npos;
}

bool SavePid(const std::string& name, const std::string& label, CommandRunner& runner,
             SchedProcesses& processes) {
    std::string answer;
    if (!ExecuteCommand("pidof " + name, answer, runner) || answer.empty()) {
        return PrintFailure("[SchedCollector] Failed to get the pid of " + name +
                            " process, skipping this process in " + label + "!");
    }
    answer.pop_back();
    if (!IsOnePid(answer)) {
        return PrintFailure("[SchedCollector] " + name + " process of SchedCollector " + label +
                            " does not exist in device, skipping this process!");
    }
    const std::int32_t pid = std::stoi(answer.substr(0, answer.find_first_of("\n\r")));
    processes.names.push_back(name);
    processes.pids.push_back(pid);
    return true;
}

// Whether any process of the list was saved.
bool GetAndSavePid(const JsonValue& list, const char* label, CommandRunner& runner,
                   SchedProcesses& processes) {
    bool anySaved = false;
    for (const JsonValue& element : list.GetArray()) {
        if (!element.IsString()) {
            PrintError(std::string("[SchedCollector] Invalid SchedCollector ") + label +
                       " element, it should be a string!");
            continue;
        }
        try {
            anySaved = SavePid(TextOf(element), label, runner, processes) || anySaved;
        } catch (const std::exception& error) {
            PrintError(
                std::string("[SchedCollector] Error occurs when get and save pid of process: ") +
                error.what());
        }
    }
    return anySaved;
}

bool SetCores(const JsonValue& list, CommandRunner& runner, SchedJobParam& param) {
    for (const JsonValue& element : list.GetArray()) {
        if (!element.IsUint()) {
            return PrintFailure(
                "[SchedCollector] Invalid SchedCollector coreID element, it should be a unsigned "
                "integer!");
        }
        const std::uint32_t core = element.GetUint();
        if (!CheckCoreId(core, runner)) {
            return PrintFailure("[SchedCollector] Invalid SchedCollector coreID value " +
                                std::to_string(core) + " !");
        }
        param.cores.push_back(core);
    }
    return true;
}

bool SetCount(const JsonValue& section, SchedJobParam& param) {
    const JsonValue* count = FindMember(section, "count");
    if (count == nullptr) {
        return true;
    }
    if (!count->IsUint()) {
        PrintError(
            "[SchedCollector] Invalid SchedCollector count type, it should be unsigned integer!");
        return PrintFailure("[SchedCollector] Invalid SchedCollector optional parameter!");
    }
    param.count = count->GetUint();
    return true;
}

void SetPublic(const JsonValue& group, SchedJobParam& param) {
    param.isCallRecord = group["is_call_record"].GetBool();
    param.duration = group["duration"].GetUint();
    param.topN = group["topN"].GetUint();
    param.sorted = TextOf(group["sorted"]);
}

bool SetPerfJobs(const JsonValue& group, CommandRunner& runner, SchedJobParam& param) {
    SetPublic(group, param);
    if (param.Has(kSchedCoreJob) && !SetCores(group["coreID"], runner, param)) {
        PrintError("[SchedCollector] Invalid SchedCollector coreID element at [sched]!");
        return PrintFailure("[SchedCollector] Failed to set SchedCollector [core] job param!");
    }
    if (param.Has(kSchedProcessJob) &&
        !GetAndSavePid(group["process"], kProcessLabel, runner, param.processes)) {
        PrintError("[SchedCollector] Invalid SchedCollector process element at [sched]!");
        return PrintFailure("[SchedCollector] Failed to set SchedCollector [process] job param!");
    }
    return true;
}

bool SetPriority(const JsonValue& group, CommandRunner& runner, SchedJobParam& param) {
    if (!GetAndSavePid(group["process"], kSchedPriorityJob, runner, param.priorityProcesses)) {
        return PrintFailure("[SchedCollector] Invalid SchedCollector processPriority element!");
    }
    for (const JsonValue& thread : group["thread"].GetArray()) {
        param.priorityThreads.push_back(TextOf(thread));
    }
    return true;
}

bool SetParameters(const JsonValue& section, CommandRunner& runner, SchedJobParam& param) {
    if (!SetCount(section, param) ||
        (HasPerfJob(param) && !SetPerfJobs(section[kGroup], runner, param)) ||
        (param.Has(kSchedPriorityJob) && !SetPriority(section[kSchedPriorityJob], runner, param))) {
        return false;
    }
    if (param.Has(kSchedLiteJob)) {
        param.liteDuration = section[kSchedLiteJob]["lite_duration_second"].GetUint64();
        param.liteThreshold = section[kSchedLiteJob]["lite_threshold_ms"].GetUint64();
    }
    return true;
}

// ---- Keys

SettingKeys PublicKeys() {
    using Outside = SettingKey::Outside;
    return {
        SettingKey::Required("sched.is_call_record", JsonType::Bool)
            .Means("record call graphs, too"),
        SettingKey::Required("sched.duration", JsonType::Unsigned)
            .Within(0, SchedJobParam::kDurationLimit, Outside::Refused)
            .Unit("s")
            .Means("how long the system, each core and each process are recorded"),
        SettingKey::Required("sched.topN", JsonType::Unsigned)
            .Within(0, SchedJobParam::kTopNLimit, Outside::Refused)
            .Unit("tasks")
            .Means("how many tasks of a latency report get into its document"),
        SettingKey::Required("sched.sorted", JsonType::String)
            .Words({"max", "avg"}, Outside::Refused)
            .Means("what latency reports are sorted by: the greatest or the mean delay"),
        SettingKey::Required("sched.coreID", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("each below the number of processors")
            .Means("for \"core\": the cores to record, one after the other"),
        SettingKey::Required("sched.process", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Means("for \"process\": the processes to record, as `pidof` knows them; one of them "
                   "must run"),
    };
}

SettingKeys OwnKeys() {
    return {
        SettingKey::Required("priority_affinity.process", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Means("for \"priority_affinity\": processes to look at, as `pidof` knows them; one of "
                   "them must run"),
        SettingKey::Required("priority_affinity.thread", JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"priority_affinity\": threads to look for in the output of `top`"),
        SettingKey::Required("lite.lite_duration_second", JsonType::Number)
            .Limits("unsigned integer of 64 bits")
            .Unit("s")
            .Means("for \"lite\": how long the recorder stays armed, in steps of 10"),
        SettingKey::Required("lite.lite_threshold_ms", JsonType::Number)
            .Limits("unsigned integer of 64 bits")
            .Unit("ms")
            .Means("for \"lite\": the delay above which the recorder notes"),
    };
}

}  // namespace

const SettingKeys& SchedCollectorKeys() {
    static const SettingKeys keys = [] {
        SettingKeys all = {
            SettingKey::Required("job", JsonType::Array)
                .Of(JsonType::String)
                .Words({kSchedGlobalJob, kSchedCoreJob, kSchedProcessJob, kSchedPriorityJob,
                        kSchedLiteJob},
                       SettingKey::Outside::Refused)
                .Means("what to record: the whole system, single cores, single processes; how "
                       "processes and threads are set up; the long delays of a long time"),
            SettingKey::Optional("count", JsonType::Unsigned, "1")
                .Unit("passes")
                .Means("how often the jobs but \"priority_affinity\" are done"),
        };
        for (const SettingKeys& more : {PublicKeys(), OwnKeys()}) {
            all.insert(all.end(), more.begin(), more.end());
        }
        return all;
    }();
    return keys;
}

bool ReadSchedJobParam(const JsonDocument& config, CommandRunner& runner, SchedJobParam& param) {
    param = {};
    if (!SetJobs(config, param)) {
        return PrintFailure("[SchedCollector] Failed to set SchedCollector job list!");
    }
    const JsonValue& section = config[kSection];
    if (!CheckParameters(section, param)) {
        return PrintFailure("[SchedCollector] Failed to check SchedCollector job param!");
    }
    return SetParameters(section, runner, param) ||
           PrintFailure("[SchedCollector] Failed to set SchedCollector job param!");
}

}  // namespace zarn
