#include "board/server/event_texts.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <sstream>
#include <utility>

namespace zarn::board {
namespace {

constexpr std::uint32_t kLastAiCpu = kFirstAiCpu + kAiCpus - 1;
// How the groups share a core: one queue, first come first run.
constexpr std::uint32_t kSchedType = 1;

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

// The process that publishes a kind of event, 0 for the kernel.
pid_t PublisherOf(const EventView& view, std::uint32_t kind) {
    const std::uint32_t program = PlanOf(view).kinds[kind].publisher;
    return program == EventKind::kByKernel ? 0 : view.pids[program];
}

// The events of all kinds for which `isMeant` holds.
template <typename IsMeant>
EventCounts SumOver(const EventView& view, const IsMeant& isMeant) {
    EventCounts sum;
    for (std::uint32_t kind = 0; kind < PlanOf(view).kindCount; ++kind) {
        if (isMeant(kind)) {
            sum.published += view.scheduler.OfKind(kind).published;
            sum.run += view.scheduler.OfKind(kind).run;
        }
    }
    return sum;
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

// The thread, by its index, whose event a core is running, or that many for an idle one.
std::uint32_t RunningOn(const EventView& view, const EventCore& core) {
    return core.isRunning ? PlanOf(view).kinds[core.running.kind].thread : PlanOf(view).threadCount;
}

bool IsRunning(const EventView& view, std::uint32_t thread) {
    const auto& cores = view.scheduler.Cores();
    return std::any_of(cores.begin(), cores.end(),
                       [&](const EventCore& core) { return RunningOn(view, core) == thread; });
}

// The groups of the program, by their indices.
std::vector<std::uint32_t> GroupsOf(const EventView& view, std::uint32_t program) {
    std::vector<std::uint32_t> groups;
    for (std::uint32_t i = 0; i < PlanOf(view).groupCount; ++i) {
        if (PlanOf(view).groups[i].program == program) {
            groups.push_back(i);
        }
    }
    return groups;
}

// The threads of the group, by their indices.
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

// The process and the thread that a late event is put down to: the one that it is for, but one that
// took long to publish to the publisher.
std::pair<pid_t, std::string> CulpritOf(const EventView& view, EventList list, std::uint32_t kind) {
    if (list == EventList::kSyscall) {
        return {PublisherOf(view, kind), ProgramName(view, PlanOf(view).kinds[kind].publisher)};
    }
    const EventThread& thread = ThreadOf(view, kind);
    return {PidOf(view, thread), ThreadName(view, thread)};
}

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

constexpr PerEventList<const char*> kListNames{"thread_proc", "kernel_proc", "subs_proc",
                                               "syscall_proc", "wakeup_proc"};

void AddLateTruth(std::ostream& text, const EventView& view, EventList list) {
    const auto index = static_cast<std::size_t>(list);
    std::map<std::pair<pid_t, std::string>, std::uint64_t> counts;
    for (std::uint32_t kind = 0; kind < PlanOf(view).kindCount; ++kind) {
        if (const std::uint64_t count = view.scheduler.Late(list).ofKind[kind]; count > 0) {
            counts[CulpritOf(view, list, kind)] += count;
        }
    }
    for (const auto& [culprit, count] : counts) {
        text << kListNames[index] << ',' << PlanOf(view).thresholdUs[index] << ',' << culprit.first
             << ',' << culprit.second << ',' << count << '\n';
    }
}

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

std::string EventTruthText(const EventView& view) {
    const EventScheduler& scheduler = view.scheduler;
    const double seconds = static_cast<double>(scheduler.NowUs() - scheduler.BeginUs()) / 1e6;
    std::ostringstream text;
    text << std::fixed << std::setprecision(3)
         << "cpu,published,run,waiting,most_waiting,failed,mean_wait_us,mean_queue\n";
    for (std::uint32_t i = 0; i < kAiCpus; ++i) {
        const EventCore& core = scheduler.Cores()[i];
        const double waits = static_cast<double>(std::max<std::uint64_t>(core.waits.count, 1));
        const double span = seconds > 0.0 ? seconds * 1e6 : 1.0;
        text << kFirstAiCpu + i << ',' << core.counts.published << ',' << core.counts.run << ','
             << core.counts.Waiting() << ',' << core.mostWaiting << ',' << core.failures << ','
             << static_cast<double>(core.waits.sumUs) / waits << ','
             << static_cast<double>(core.queueTimeUs) / span << '\n';
    }
    text << "list,threshold_us,pid,thread,events\n";
    for (std::size_t list = 0; list < kEventLists; ++list) {
        AddLateTruth(text, view, static_cast<EventList>(list));
    }
    return text.str();
}

}  // namespace zarn::board
