#include "board/server/event_texts.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace zarn::board {
namespace {

constexpr std::uint32_t kLastAiCpu = kFirstAiCpu + kAiCpus - 1;
// How the groups share a core: one queue, first come first run.
constexpr std::uint32_t kSchedType = 1;

// The selected process, by its index, or the count of the programs if none of the scheduler's is.
std::uint32_t SelectedProgram(const EventView& view, const EventSelection& selection) {
    std::uint32_t program = 0;
    while (program < view.programs.count &&
           (static_cast<std::uint32_t>(view.pids[program]) != selection.pid ||
            GroupsOf(view, program).empty())) {
        ++program;
    }
    return program;
}

// The selected groups of the selected process.
std::vector<std::uint32_t> SelectedGroups(const EventView& view, const EventSelection& selection) {
    std::vector<std::uint32_t> groups = GroupsOf(view, SelectedProgram(view, selection));
    if (selection.gid != 0) {
        groups.erase(std::remove_if(groups.begin(), groups.end(),
                                    [&](std::uint32_t group) {
                                        return PlanOf(view).groups[group].gid != selection.gid;
                                    }),
                     groups.end());
    }
    return groups;
}

bool IsSelected(const EventSelection& selection, std::uint32_t core) {
    return selection.core == 0 || selection.core == core;
}

std::string NodeList(const EventView& /*view*/, const EventSelection& /*selection*/) {
    return "0\n";
}

std::string CpuList(const EventView& /*view*/, const EventSelection& /*selection*/) {
    return std::to_string(kFirstAiCpu) + "-" + std::to_string(kLastAiCpu) + "\n";
}

std::string CpuMask(const EventView& /*view*/, const EventSelection& /*selection*/) {
    std::ostringstream text;
    text << std::hex << "0x" << (((1U << kAiCpus) - 1U) << kFirstAiCpu) << '\n';
    return text.str();
}

// A pool of events: what it holds, its greatest use and those that found no place.
struct Pool {
    std::uint64_t total = 0;
    std::uint64_t used = 0;
    std::uint64_t mostUsed = 0;
    std::uint64_t failures = 0;
};

constexpr const char* kPoolHead = "total:used:free:reserved:max_used:failed\n";

std::ostream& operator<<(std::ostream& out, const Pool& pool) {
    return out << pool.total << ':' << pool.used << ':' << pool.total - pool.used
               << ":0:" << pool.mostUsed << ':' << pool.failures << '\n';
}

std::string NodeResource(const EventView& view, const EventSelection& /*selection*/) {
    Pool pool{std::uint64_t{PlanOf(view).pool} * kAiCpus, view.scheduler.OfNode().Waiting(),
              view.scheduler.MostWaiting(), 0};
    for (const EventCore& core : view.scheduler.Cores()) {
        pool.failures += core.failures;
    }
    std::ostringstream text;
    text << kPoolHead << pool;
    return text.str();
}

std::string CpuResource(const EventView& view, const EventSelection& /*selection*/) {
    std::ostringstream text;
    text << "cpu," << kPoolHead;
    for (std::uint32_t i = 0; i < kAiCpus; ++i) {
        const EventCore& core = view.scheduler.Cores()[i];
        text << kFirstAiCpu + i << ','
             << Pool{PlanOf(view).pool, core.counts.Waiting(), core.mostWaiting, core.failures};
    }
    return text.str();
}

std::string ProcList(const EventView& view, const EventSelection& /*selection*/) {
    std::ostringstream text;
    for (std::uint32_t program = 0; program < view.programs.count; ++program) {
        const std::size_t threads = ThreadCountOf(view, program);
        if (threads > 0) {
            const EventCounts counts = OfProgram(view, program);
            text << view.pids[program] << ',' << ProgramName(view, program) << ','
                 << counts.published << ',' << counts.run << ',' << threads << '\n';
        }
    }
    return text.str();
}

std::string CpuCurrentThread(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    for (std::uint32_t i = 0; i < kAiCpus; ++i) {
        const EventCore& core = view.scheduler.Cores()[i];
        if (!IsSelected(selection, kFirstAiCpu + i)) {
            continue;
        }
        text << kFirstAiCpu + i << ',';
        if (core.isRunning) {
            const EventThread& thread = ThreadOf(view, core.running.kind);
            text << PidOf(view, thread) << ',' << GroupOf(view, thread).gid << ',' << thread.number
                 << ',' << PlanOf(view).kinds[core.running.kind].id << ','
                 << ThreadName(view, thread) << '\n';
        } else {
            text << "0,0,0,0,idle\n";
        }
    }
    return text.str();
}

std::string CpuThreadInfo(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    for (std::uint32_t i = 0; i < PlanOf(view).threadCount; ++i) {
        const EventThread& thread = PlanOf(view).threads[i];
        if (IsSelected(selection, thread.core)) {
            text << thread.core << ',' << PidOf(view, thread) << ',' << GroupOf(view, thread).gid
                 << ',' << thread.number << ',' << ThreadName(view, thread) << ','
                 << (IsRunning(view, i) ? "running" : "idle") << '\n';
        }
    }
    return text.str();
}

void AddRun(std::ostream& text, const EventView& view, const EventRun& run) {
    const EventThread& thread = ThreadOf(view, run.kind);
    text << thread.core << ',' << run.startUs << ',' << PidOf(view, thread) << ','
         << GroupOf(view, thread).gid << ',' << thread.number << ','
         << PlanOf(view).kinds[run.kind].id << ',' << ThreadName(view, thread) << '\n';
}

constexpr const char* kRunHead = "cpu,start_us,pid,gid,tid,event,thread\n";

std::string CpuTrack(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    text << kRunHead;
    for (std::uint32_t i = 0; i < kAiCpus; ++i) {
        if (IsSelected(selection, kFirstAiCpu + i)) {
            for (const EventRun& run : view.scheduler.Cores()[i].track) {
                AddRun(text, view, run);
            }
        }
    }
    return text.str();
}

std::string EventTrace(const EventView& view, const EventSelection& /*selection*/) {
    std::ostringstream text;
    text << kRunHead;
    for (const EventRun& run : view.scheduler.Trace()) {
        AddRun(text, view, run);
    }
    return text.str();
}

std::ostream& operator<<(std::ostream& out, const TimeFigures& times) {
    return out << "max time(us) " << times.mostUs << "\nave time(us) " << times.MeanUs() << '\n';
}

std::string NodeSummary(const EventView& view, const EventSelection& /*selection*/) {
    const EventScheduler& scheduler = view.scheduler;
    const EventCounts all = scheduler.OfNode();
    std::ostringstream text;
    text << "publish_event_num " << all.published << '\n'
         << scheduler.SyscallTimes() << scheduler.KernelTimes() << "sched_event_num " << all.run
         << '\n'
         << scheduler.WaitTimes() << "wakeup_event_num " << scheduler.WakeupTimes().count << '\n'
         << scheduler.WakeupTimes() << "wait_event_num " << all.Waiting() << '\n'
         << "event id,publish event num,sched event num\n";
    for (std::uint32_t kind = 0; kind < PlanOf(view).kindCount; ++kind) {
        const EventCounts& counts = scheduler.OfKind(kind);
        text << PlanOf(view).kinds[kind].id << ',' << counts.published << ',' << counts.run << '\n';
    }
    return text.str();
}

// What the rows of a list of late events hold, which differs from list to list: the place of the
// pid for one.
constexpr PerEventList<const char*> kLateHeads{
    "event,start_us,pid,tid,gid,cpu,us,thread\n",
    "event,start_us,cpu,pid,tid,gid,us,thread\n",
    "event,start_us,from_pid,cpu,pid,gid,us,thread\n",
    "event,start_us,cpu,pid,for_pid,for_gid,us,thread\n",
    "event,start_us,from_pid,cpu,gid,pid,us,thread\n",
};

// The fields of a row between start and time.
std::string LatePlace(const EventView& view, EventList list, std::uint32_t kind) {
    const EventThread& thread = ThreadOf(view, kind);
    const pid_t pid = PidOf(view, thread);
    const std::uint32_t gid = GroupOf(view, thread).gid;
    std::ostringstream text;
    switch (list) {
        case EventList::kRun:
            text << pid << ',' << thread.number << ',' << gid << ',' << thread.core;
            break;
        case EventList::kKernel:
            text << thread.core << ',' << pid << ',' << thread.number << ',' << gid;
            break;
        case EventList::kSubscribe:
            text << PublisherOf(view, kind) << ',' << thread.core << ',' << pid << ',' << gid;
            break;
        case EventList::kSyscall:
            text << thread.core << ',' << PublisherOf(view, kind) << ',' << pid << ',' << gid;
            break;
        case EventList::kWakeup:
            text << PublisherOf(view, kind) << ',' << thread.core << ',' << gid << ',' << pid;
            break;
    }
    return text.str();
}

template <EventList list>
std::string LateList(const EventView& view, const EventSelection& /*selection*/) {
    std::ostringstream text;
    text << kLateHeads[static_cast<std::size_t>(list)];
    for (const LateEvent& event : view.scheduler.Late(list).last) {
        text << PlanOf(view).kinds[event.kind].id << ',' << event.startUs << ','
             << LatePlace(view, list, event.kind) << ',' << event.us << ','
             << CulpritOf(view, list, event.kind).second << '\n';
    }
    return text.str();
}

template <EventList list>
std::string Threshold(const EventView& view, const EventSelection& /*selection*/) {
    return std::to_string(PlanOf(view).thresholdUs[static_cast<std::size_t>(list)]) + "\n";
}

std::string ProcPriority(const EventView& view, const EventSelection& selection) {
    const std::uint32_t program = SelectedProgram(view, selection);
    if (program == view.programs.count) {
        return "";
    }
    const std::uint32_t group = GroupsOf(view, program).front();
    return std::to_string(view.pids[program]) + "," + ProgramName(view, program) + "," +
           std::to_string(PlanOf(view).groups[group].priority) + "\n";
}

std::string ProcStatus(const EventView& view, const EventSelection& selection) {
    const std::uint32_t program = SelectedProgram(view, selection);
    if (program == view.programs.count) {
        return "";
    }
    std::size_t running = 0;
    for (const std::uint32_t group : GroupsOf(view, program)) {
        for (const std::uint32_t thread : ThreadsOf(view, group)) {
            running += IsRunning(view, thread) ? 1U : 0U;
        }
    }
    const std::uint64_t waiting = OfProgram(view, program).Waiting();
    std::ostringstream text;
    text << "status "
         << (running > 0   ? "running"
             : waiting > 0 ? "waiting"
                           : "idle")
         << '\n'
         << "group_num " << GroupsOf(view, program).size() << '\n'
         << "thread_num " << ThreadCountOf(view, program) << '\n'
         << "running_thread_num " << running << '\n'
         << "wait_event_num " << waiting << '\n';
    return text.str();
}

std::string ProcEventNum(const EventView& view, const EventSelection& selection) {
    const std::uint32_t program = SelectedProgram(view, selection);
    if (program == view.programs.count) {
        return "";
    }
    const EventCounts counts = OfProgram(view, program);
    std::ostringstream text;
    text << "publish_event_num " << counts.published << "\nsched_event_num " << counts.run << '\n';
    return text.str();
}

std::string ProcGroupEvents(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    text << "gid,event,thread,publish_event_num,sched_event_num\n";
    for (const std::uint32_t group : SelectedGroups(view, selection)) {
        for (std::uint32_t kind = 0; kind < PlanOf(view).kindCount; ++kind) {
            const EventThread& thread = ThreadOf(view, kind);
            if (thread.group == group) {
                const EventCounts& counts = view.scheduler.OfKind(kind);
                text << PlanOf(view).groups[group].gid << ',' << PlanOf(view).kinds[kind].id << ','
                     << ThreadName(view, thread) << ',' << counts.published << ',' << counts.run
                     << '\n';
            }
        }
    }
    return text.str();
}

std::string ProcGroups(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    text << "gid,sched_type,thread_num,event_num,publish_event_num,sched_event_num\n";
    for (const std::uint32_t group : GroupsOf(view, SelectedProgram(view, selection))) {
        std::size_t kinds = 0;
        const EventCounts counts = SumOver(view, [&](std::uint32_t kind) {
            const bool isOfGroup = ThreadOf(view, kind).group == group;
            kinds += isOfGroup ? 1U : 0U;
            return isOfGroup;
        });
        text << PlanOf(view).groups[group].gid << ',' << kSchedType << ','
             << ThreadsOf(view, group).size() << ',' << kinds << ',' << counts.published << ','
             << counts.run << '\n';
    }
    return text.str();
}

std::string ProcGroupThreads(const EventView& view, const EventSelection& selection) {
    std::ostringstream text;
    text << "gid,tid,cpu,priority,publish_event_num,sched_event_num,state,thread\n";
    for (const std::uint32_t group : SelectedGroups(view, selection)) {
        for (const std::uint32_t index : ThreadsOf(view, group)) {
            const EventThread& thread = PlanOf(view).threads[index];
            const EventCounts counts = OfThread(view, index);
            text << PlanOf(view).groups[group].gid << ',' << thread.number << ',' << thread.core
                 << ',' << PlanOf(view).groups[group].priority << ',' << counts.published << ','
                 << counts.run << ',' << (IsRunning(view, index) ? "running" : "idle") << ','
                 << ThreadName(view, thread) << '\n';
        }
    }
    return text.str();
}

struct Attribute {
    std::string_view name;
    std::string (*text)(const EventView&, const EventSelection&);
    bool isOfNode = true;  // and not of the board as a whole
};

constexpr Attribute kAttributes[] = {
    {"node_list", NodeList, false},
    {"cpu_list", CpuList, false},
    {"sched_cpu_mask", CpuMask, false},
    {"node_event_resource", NodeResource},
    {"proc_list", ProcList},
    {"cpu_event_resource", CpuResource},
    {"cpu_cur_thread", CpuCurrentThread},
    {"cpu_thread_info", CpuThreadInfo},
    {"cpu_sched_track", CpuTrack},
    {"event_trace", EventTrace},
    {"node_event_summary", NodeSummary},
    {"node_sched_proc_abnormal_event", LateList<EventList::kRun>},
    {"node_sched_proc_abnormal_time_in_microsecond", Threshold<EventList::kRun>},
    {"node_sched_publish_in_kernel_abnormal_event", LateList<EventList::kKernel>},
    {"node_sched_publish_in_kernel_abnormal_time_in_microsecond", Threshold<EventList::kKernel>},
    {"node_sched_publish_subscribe_abnormal_event", LateList<EventList::kSubscribe>},
    {"node_sched_publish_subscribe_abnormal_time_in_microsecond", Threshold<EventList::kSubscribe>},
    {"node_sched_publish_syscall_abnormal_event", LateList<EventList::kSyscall>},
    {"node_sched_publish_syscall_abnormal_time_in_microsecond", Threshold<EventList::kSyscall>},
    {"node_sched_wakeup_abnormal_event", LateList<EventList::kWakeup>},
    {"node_sched_wakeup_abnormal_time_in_microsecond", Threshold<EventList::kWakeup>},
    {"proc_pri", ProcPriority},
    {"proc_status", ProcStatus},
    {"proc_event_num", ProcEventNum},
    {"proc_group_event_list", ProcGroupEvents},
    {"proc_group_list", ProcGroups},
    {"proc_group_thread", ProcGroupThreads},
};

}  // namespace

std::vector<std::string> EventAttributes() {
    std::vector<std::string> names;
    for (const Attribute& attribute : kAttributes) {
        names.emplace_back(attribute.name);
    }
    return names;
}

std::string EventAttributeText(std::string_view attribute, const EventView& view,
                               const EventSelection& selection) {
    for (const Attribute& known : kAttributes) {
        if (known.name == attribute) {
            return known.isOfNode && selection.node != 0 ? "" : known.text(view, selection);
        }
    }
    return "";
}

}  // namespace zarn::board
