#include "board/setup/event_plans.h"

#include <string>

#include "board/model/sharing.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kMostPlaces = 65536;
constexpr std::uint32_t kMostUs = 1000000;
constexpr std::uint32_t kMostNumber = 65535;
constexpr double kLeastRate = 0.001;

std::uint32_t ReadProgramName(Fields& fields, const char* key, const BoardPrograms& programs) {
    std::string name;
    fields.Text(key, name);
    std::uint32_t index = 0;
    while (index < programs.count && name != programs.plans[index].name.data()) {
        ++index;
    }
    if (index == programs.count) {
        Refuse(fields.NameOf(key), "the name of a program");
    }
    return index;
}

std::uint32_t ThreadsOfProgram(const EventPlan& plan, std::uint32_t program) {
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < plan.threadCount; ++i) {
        count += plan.groups[plan.threads[i].group].program == program ? 1U : 0U;
    }
    return count;
}

void ReadThreads(Fields& fields, const BoardPrograms& programs, EventPlan& plan) {
    const std::uint32_t group = plan.groupCount - 1;
    const std::uint32_t program = plan.groups[group].program;
    const JsonValue* list = fields.List("threads", kMaxEventThreads - plan.threadCount);
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        Fields thread((*list)[i], fields.NameOf("threads") + "[" + std::to_string(i) + "]");
        EventThread& added = plan.threads[plan.threadCount];
        added.group = group;
        added.number = ThreadsOfProgram(plan, program);
        thread.Count("core", added.core, kFirstAiCpu + kAiCpus - 1);
        thread.Real("slow", added.slow, 0.01, 1000.0);
        thread.Finish();
        if (added.core < kFirstAiCpu) {
            Refuse(thread.NameOf("core"), "a core from 1 to 3");
        }
        if (added.number >= programs.plans[program].threads) {
            Refuse(fields.NameOf("threads"), "no more threads than the program has");
        }
        ++plan.threadCount;
    }
}

bool IsGroupTaken(const EventPlan& plan, std::uint32_t gid) {
    for (std::uint32_t i = 0; i + 1 < plan.groupCount; ++i) {
        if (plan.groups[i].gid == gid) {
            return true;
        }
    }
    return false;
}

void ReadGroups(Fields& fields, const BoardPrograms& programs, EventPlan& plan) {
    const JsonValue* list = fields.List("groups", kMaxEventGroups);
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        Fields group((*list)[i], fields.NameOf("groups") + "[" + std::to_string(i) + "]");
        EventGroup& added = plan.groups[plan.groupCount++];
        added.program = ReadProgramName(group, "program", programs);
        group.Count("gid", added.gid, kMostNumber);
        group.Count("priority", added.priority, kMaxPriority);
        if (added.gid == 0 || IsGroupTaken(plan, added.gid)) {
            Refuse(group.NameOf("gid"), "a number of its own from 1 on");
        }
        ReadThreads(group, programs, plan);
        group.Finish();
    }
}

std::uint32_t ReadThreadName(Fields& fields, const BoardPrograms& programs, const EventPlan& plan) {
    std::string name;
    fields.Text("thread", name);
    for (std::uint32_t i = 0; i < plan.threadCount; ++i) {
        const EventThread& thread = plan.threads[i];
        const ProgramPlan& program = programs.plans[plan.groups[thread.group].program];
        if (name == program.name.data() + ("_" + std::to_string(thread.number))) {
            return i;
        }
    }
    Refuse(fields.NameOf("thread"), "a thread of a group, PROGRAM_NUMBER");
}

bool IsEventTaken(const EventPlan& plan, std::uint32_t id) {
    for (std::uint32_t i = 0; i < plan.kindCount; ++i) {
        if (plan.kinds[i].id == id) {
            return true;
        }
    }
    return false;
}

void ReadKinds(Fields& fields, const BoardPrograms& programs, EventPlan& plan) {
    const JsonValue* list = fields.List("events", kMaxEventKinds);
    double eventsPerS = 0.0;
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        Fields event((*list)[i], fields.NameOf("events") + "[" + std::to_string(i) + "]");
        EventKind added;
        event.Count("id", added.id, kMostNumber);
        added.thread = ReadThreadName(event, programs, plan);
        if (event.Has("publisher")) {
            added.publisher = ReadProgramName(event, "publisher", programs);
        }
        event.Real("rate", added.ratePerS, kLeastRate, kMostEventsPerS);
        event.Count("run_us", added.runUs, kMostUs);
        event.Finish();
        eventsPerS += added.ratePerS;
        if (IsEventTaken(plan, added.id)) {
            Refuse(event.NameOf("id"), "a number of its own");
        }
        if (!event.Has("rate") || eventsPerS > kMostEventsPerS) {
            Refuse(event.NameOf("rate"), "events per second, at most 20000 in all");
        }
        plan.kinds[plan.kindCount++] = added;
    }
}

void ReadThresholds(Fields& fields, PerEventList<std::uint32_t>& thresholds) {
    constexpr PerEventList<const char*> kNames{"run", "publish_kernel", "publish_subscribe",
                                               "publish_syscall", "wakeup"};
    fields.Section("thresholds_us", [&](Fields& section) {
        for (std::size_t list = 0; list < kEventLists; ++list) {
            section.Count(kNames[list], thresholds[list], kMostUs);
        }
    });
}

}  // namespace

void ReadEventPlan(Fields& scenario, const BoardPrograms& programs, EventPlan& plan) {
    scenario.Section("event_scheduler", [&](Fields& fields) {
        fields.Count("pool", plan.pool, kMostPlaces);
        fields.Real("memory_part", plan.memoryPart, 0.0, 1.0);
        fields.Count("wakeup_us", plan.wakeupUs, kMostUs);
        fields.Count("publish_kernel_us", plan.kernelUs, kMostUs);
        fields.Count("publish_syscall_us", plan.syscallUs, kMostUs);
        ReadThresholds(fields, plan.thresholdUs);
        ReadGroups(fields, programs, plan);
        ReadKinds(fields, programs, plan);
    });
}

}  // namespace zarn::board
