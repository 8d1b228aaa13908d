#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "board/model/event_scheduler.h"
#include "board/model/programs.h"

// The scheduler's threads and events by the processes and names that readers know them by. Threads,
// groups, kinds and programs are indices of the plan and of the board's programs.
namespace zarn::board {

// What texts are made from; `pids` are those of the programs, by index.
struct EventView {
    const EventScheduler& scheduler;
    const BoardPrograms& programs;
    const std::vector<pid_t>& pids;
};

[[nodiscard]] const EventPlan& PlanOf(const EventView& view);

// The thread that waits for a kind of event.
[[nodiscard]] const EventThread& ThreadOf(const EventView& view, std::uint32_t kind);
[[nodiscard]] const EventGroup& GroupOf(const EventView& view, const EventThread& thread);

[[nodiscard]] std::string ProgramName(const EventView& view, std::uint32_t program);
// PROGRAM_NUMBER.
[[nodiscard]] std::string ThreadName(const EventView& view, const EventThread& thread);
[[nodiscard]] pid_t PidOf(const EventView& view, const EventThread& thread);

// The process that publishes a kind of event, 0 for the kernel.
[[nodiscard]] pid_t PublisherOf(const EventView& view, std::uint32_t kind);

// The process and the thread that a late event is put down to: the one that it is for, but one that
// took long to publish to the publisher.
[[nodiscard]] std::pair<pid_t, std::string> CulpritOf(const EventView& view, EventList list,
                                                      std::uint32_t kind);

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

// The events for a program's threads, and for one thread.
[[nodiscard]] EventCounts OfProgram(const EventView& view, std::uint32_t program);
[[nodiscard]] EventCounts OfThread(const EventView& view, std::uint32_t thread);

// Whether a core is running an event of the thread.
[[nodiscard]] bool IsRunning(const EventView& view, std::uint32_t thread);

// The groups of a program, and the threads of a group.
[[nodiscard]] std::vector<std::uint32_t> GroupsOf(const EventView& view, std::uint32_t program);
[[nodiscard]] std::vector<std::uint32_t> ThreadsOf(const EventView& view, std::uint32_t group);
[[nodiscard]] std::size_t ThreadCountOf(const EventView& view, std::uint32_t program);

}  // namespace zarn::board
