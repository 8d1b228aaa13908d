#include "board/server/event_truth.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <sstream>

namespace zarn::board {
namespace {

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
