#include "board/setup/sched_plans.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "board/setup/task_stacks.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kMostUs = 60000000;
constexpr std::uint32_t kMostMs = 3600000;
constexpr double kMostFactor = 1000.0;
constexpr std::uint32_t kLeastPieceUs = 100;
constexpr std::uint32_t kMostPriority = 99;
constexpr std::int32_t kMostNice = 19;
constexpr std::int32_t kLeastNice = -20;
constexpr std::size_t kMostName = std::tuple_size_v<decltype(SchedTask::name)> - 1;

using LockNames = std::vector<std::string>;

// What reading one task needs beside its fields.
struct Context {
    const PerMaster<MasterDemand>& demands;
    SchedPlan& plan;
    LockNames& locks;
};

template <typename Name>
void CopyName(const std::string& text, Name& name) {
    name.fill('\0');
    std::copy(text.begin(), text.end(), name.begin());
}

std::string NameOfElement(const Fields& fields, const char* list, rapidjson::SizeType i) {
    return fields.NameOf(list) + "[" + std::to_string(i) + "]";
}

void ReadPolicy(Fields& fields, SchedTask& task) {
    constexpr std::array<std::string_view, 5> kNames{"other", "batch", "idle", "fifo", "rr"};
    std::string name;
    fields.Text("policy", name);
    if (fields.Has("policy")) {
        const auto* const found = std::find(kNames.begin(), kNames.end(), name);
        if (found == kNames.end()) {
            Refuse(fields.NameOf("policy"), "other, batch, idle, fifo or rr");
        }
        task.policy = static_cast<SchedPolicy>(found - kNames.begin());
        task.priority = IsRealTime(task.policy) ? task.priority : 0;
    }
    fields.Count("priority", task.priority, kMostPriority);
    if ((task.priority > 0) != IsRealTime(task.policy)) {
        Refuse(fields.NameOf("priority"), "1 to 99 with the policies fifo and rr, else none");
    }
    fields.Whole("nice", task.nice);
    if (task.nice < kLeastNice || task.nice > kMostNice) {
        Refuse(fields.NameOf("nice"), "-20 to 19");
    }
}

void ReadAffinity(Fields& fields, std::uint32_t cores, SchedTask& task) {
    const JsonValue* list = fields.List("affinity", kMaxSchedCores);
    if (list == nullptr) {
        return;
    }
    task.affinity = 0;
    for (const JsonValue& core : list->GetArray()) {
        if (!core.IsUint() || core.GetUint() >= cores) {
            Refuse(fields.NameOf("affinity"), "numbers of cores");
        }
        task.affinity |= 1U << core.GetUint();
    }
    if (task.affinity == 0) {
        Refuse(fields.NameOf("affinity"), "a core at least");
    }
}

// A burst that follows that of a bus master, which has to have one.
void FollowMaster(Fields& section, const PerMaster<MasterDemand>& demands, SchedBurst& burst) {
    std::string name;
    section.Text("follows", name);
    const auto* const master =
        std::find_if(kMasters.begin(), kMasters.end(),
                     [&name](const BusMaster& known) { return known.name == name; });
    const auto index = static_cast<std::uint32_t>(master - kMasters.begin());
    if (master == kMasters.end() || demands[index].burstEveryMs == 0) {
        Refuse(section.NameOf("follows"), "a bus master that has bursts");
    }
    if (section.Has("every_ms") || section.Has("length_ms")) {
        Refuse(section.NameOf("follows"), "no every_ms and no length_ms beside it");
    }
    burst.everyMs = demands[index].burstEveryMs;
    burst.lengthMs = demands[index].burstLengthMs;
    burst.master = index;
}

void ReadBurst(Fields& fields, const PerMaster<MasterDemand>& demands, SchedBurst& burst) {
    fields.Section("burst", [&](Fields& section) {
        if (section.Has("follows")) {
            FollowMaster(section, demands, burst);
        } else if (section.Has("every_ms") || section.Has("length_ms")) {
            burst.master = SchedBurst::kOwn;
        }
        section.Count("every_ms", burst.everyMs, kMostMs);
        section.Count("length_ms", burst.lengthMs, burst.everyMs);
        if (burst.lengthMs > burst.everyMs) {
            Refuse(section.NameOf("length_ms"), "no more than every_ms");
        }
        section.Real("factor", burst.factor, 0.0, kMostFactor);
    });
}

std::uint32_t NumberOfLock(Fields& fields, LockNames& locks) {
    std::string name;
    fields.Text("name", name);
    const auto found = std::find(locks.begin(), locks.end(), name);
    const auto number = static_cast<std::uint32_t>(found - locks.begin());
    if (found == locks.end()) {
        if (!IsPlainName(name, kMostName) || locks.size() == kMaxSchedLocks) {
            Refuse(fields.NameOf("name"), "the name of a lock, at most 8 locks in all");
        }
        locks.push_back(name);
    }
    return number;
}

void ReadLocks(Fields& fields, LockNames& locks, SchedTask& task) {
    const JsonValue* list = fields.List("locks", kMaxLockUses);
    task.lockUseCount = list == nullptr ? task.lockUseCount : 0;
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        Fields lock((*list)[i], NameOfElement(fields, "locks", i));
        LockUse& use = task.lockUses[task.lockUseCount++];
        use = {NumberOfLock(lock, locks)};
        lock.Count("after_us", use.afterUs, kMostUs);
        lock.Count("hold_us", use.holdUs, kMostUs);
        lock.Finish();
    }
    std::uint32_t freeUs = 0;
    for (std::uint32_t i = 0; i < task.lockUseCount; ++i) {
        if (task.lockUses[i].afterUs < freeUs) {
            Refuse(fields.NameOf("locks"), "one after the other");
        }
        freeUs = task.lockUses[i].afterUs + task.lockUses[i].holdUs;
    }
    if (freeUs > task.runUs) {
        Refuse(fields.NameOf("locks"), "nothing beyond the run");
    }
}

// What is not there stays as it is in `task`.
void ReadTask(Fields& fields, const Context& context, SchedTask& task) {
    ReadPolicy(fields, task);
    ReadAffinity(fields, context.plan.cores, task);
    fields.Count("period_us", task.periodUs, kMostUs);
    fields.Count("run_us", task.runUs, kMostUs);
    const std::uint32_t pieceUs = task.periodUs == 0 ? task.runUs : task.periodUs;
    if (task.runUs > 0 && pieceUs < kLeastPieceUs) {
        Refuse(fields.NameOf(task.periodUs == 0 ? "run_us" : "period_us"), "100 us at least");
    }
    fields.Real("jitter", task.jitter, 0.0, 1.0);
    ReadBurst(fields, context.demands, task.burst);
    ReadLocks(fields, context.locks, task);
    ReadStacks(fields, context.plan, task);
}

void AddTask(const Fields& fields, const SchedTask& task, SchedPlan& plan) {
    if (plan.taskCount == kMaxSchedTasks) {
        Refuse(fields.NameOf("count"), "at most 64 threads in all");
    }
    plan.tasks[plan.taskCount++] = task;
    ++plan.processes[task.process].taskCount;
}

bool IsThreadName(const std::string& name) {
    const auto isShown = [](char letter) { return letter >= ' ' && letter <= '~'; };
    return !name.empty() && name.size() <= kMostName && name.front() != ' ' && name.back() != ' ' &&
           std::all_of(name.begin(), name.end(), isShown);
}

// A thread takes over from the main one what it does not give.
void ReadThread(Fields& fields, const Context& context, SchedTask task) {
    std::string name(task.name.data());
    fields.Text("name", name);
    if (!IsThreadName(name)) {
        Refuse(fields.NameOf("name"), "1 to 15 letters, digits, signs and inner blanks");
    }
    CopyName(name, task.name);
    ReadTask(fields, context, task);
    std::uint32_t count = 1;
    fields.Count("count", count, kMaxSchedTasks);
    fields.Finish();
    for (std::uint32_t i = 0; i < count; ++i) {
        AddTask(fields, task, context.plan);
    }
}

void ReadProcess(Fields& fields, const Context& context) {
    SchedPlan& plan = context.plan;
    std::string name;
    fields.Text("name", name);
    const auto isTaken = [&](const SchedProcess& process) { return name == process.name.data(); };
    if (!IsPlainName(name, kMostName) ||
        std::any_of(plan.processes.begin(), plan.processes.begin() + plan.processCount, isTaken)) {
        Refuse(fields.NameOf("name"), "a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ and -");
    }
    SchedTask task;
    task.process = plan.processCount++;
    task.affinity = static_cast<std::uint32_t>((std::uint64_t{1} << plan.cores) - 1);
    plan.processes[task.process].firstTask = plan.taskCount;
    CopyName(name, plan.processes[task.process].name);
    CopyName(name, task.name);
    ReadTask(fields, context, task);
    AddTask(fields, task, plan);
    const JsonValue* threads = fields.List("threads", kMaxSchedTasks);
    for (rapidjson::SizeType i = 0; threads != nullptr && i < threads->Size(); ++i) {
        Fields thread((*threads)[i], NameOfElement(fields, "threads", i));
        ReadThread(thread, context, task);
    }
    fields.Finish();
}

}  // namespace

void ReadSchedPlan(Fields& scenario, const PerMaster<MasterDemand>& demands, SchedPlan& plan) {
    scenario.Section("sched", [&](Fields& fields) {
        plan.cores = kUsualSchedCores;
        fields.Count("cores", plan.cores, kMaxSchedCores);
        if (plan.cores == 0) {
            Refuse(fields.NameOf("cores"), "a core at least");
        }
        AddUsualFunction(plan);
        LockNames locks;
        const JsonValue* list = fields.List("processes", kMaxSchedProcesses);
        for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
            Fields process((*list)[i], NameOfElement(fields, "processes", i));
            ReadProcess(process, {demands, plan, locks});
        }
    });
}

}  // namespace zarn::board
