#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "board/model/event_scheduler.h"
#include "board/model/programs.h"

// Texts of the event scheduler's attributes. Pure functions of the scheduler and the selection.
namespace zarn::board {

// What the four selection files hold. 0 selects no process, and every core and group.
struct EventSelection {
    std::uint32_t node = 0;
    std::uint32_t pid = 0;
    std::uint32_t core = 0;
    std::uint32_t gid = 0;
};

// What the texts are made from; `pids` are those of the programs, by index.
struct EventView {
    const EventScheduler& scheduler;
    const BoardPrograms& programs;
    const std::vector<pid_t>& pids;
};

// The names of the attributes, but for the selection files.
[[nodiscard]] std::vector<std::string> EventAttributes();

// The text of an attribute. There is only node 0: of another one, what is asked of a node has none.
[[nodiscard]] std::string EventAttributeText(std::string_view attribute, const EventView& view,
                                             const EventSelection& selection);

// What the scheduler knows at a moment, for those who check what they have read: counts, mean
// queues and waits, and all that was ever over a threshold by process and thread.
[[nodiscard]] std::string EventTruthText(const EventView& view);

}  // namespace zarn::board
