#include "board/server/event_view.h"

#include <algorithm>

namespace zarn::board {

const EventPlan& PlanOf(const EventView& view) {
    return view.scheduler.Plan();
}

const EventThread& ThreadOf(const EventView& view, std::uint32_t kind) {
    return PlanOf(view).threads[PlanOf(view).kinds[kind].thread];
}

const EventGroup& GroupOf(const EventView& view, const EventThread& thread) {
    return PlanOf(view).groups[thread.group];
}

std::string ProgramName(const EventView& view, std::uint32_t program) {
    return view.programs.plans[program].name.data();
}

std::string ThreadName(const EventView& view, const EventThread& thread) {
    return ProgramName(view, GroupOf(view, thread).program) + "_" + std::to_string(thread.number);
}

pid_t PidOf(const EventView& view, const EventThread& thread) {
    return view.pids[GroupOf(view, thread).program];
}

pid_t PublisherOf(const EventView& view, std::uint32_t kind) {
    const std::uint32_t program = PlanOf(view).kinds[kind].publisher;
    return program == EventKind::kByKernel ? 0 : view.pids[program];
}

EventCounts OfProgram(const EventView& view, std::uint32_t program) {
    return SumOver(view, [&](std::uint32_t kind) {
        return GroupOf(view, ThreadOf(view, kind)).program == program;
    });
}

EventCounts OfThread(const EventView& view, std::uint32_t thread) {
    return SumOver(view,
                   [&](std::uint32_t kind) { return PlanOf(view).kinds[kind].thread == thread; });
}

bool IsRunning(const EventView& view, std::uint32_t thread) {
    const auto& cores = view.scheduler.Cores();
    return std::any_of(cores.begin(), cores.end(), [&](const EventCore& core) {
        return core.isRunning && PlanOf(view).kinds[core.running.kind].thread == thread;
    });
}

std::vector<std::uint32_t> GroupsOf(const EventView& view, std::uint32_t program) {
    std::vector<std::uint32_t> groups;
    for (std::uint32_t i = 0; i < PlanOf(view).groupCount; ++i) {
        if (PlanOf(view).groups[i].program == program) {
            groups.push_back(i);
        }
    }
    return groups;
}

std::vector<std::uint32_t> ThreadsOf(const EventView& view, std::uint32_t group) {
    std::vector<std::uint32_t> threads;
    for (std::uint32_t i = 0; i < PlanOf(view).threadCount; ++i) {
        if (PlanOf(view).threads[i].group == group) {
            threads.push_back(i);
        }
    }
    return threads;
}

std::size_t ThreadCountOf(const EventView& view, std::uint32_t program) {
    std::size_t count = 0;
    for (const std::uint32_t group : GroupsOf(view, program)) {
        count += ThreadsOf(view, group).size();
    }
    return count;
}

std::pair<pid_t, std::string> CulpritOf(const EventView& view, EventList list, std::uint32_t kind) {
    if (list == EventList::kSyscall) {
        return {PublisherOf(view, kind), ProgramName(view, PlanOf(view).kinds[kind].publisher)};
    }
    const EventThread& thread = ThreadOf(view, kind);
    return {PidOf(view, thread), ThreadName(view, thread)};
}

}  // namespace zarn::board
