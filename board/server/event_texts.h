#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "board/server/event_view.h"

// Texts of the event scheduler's attributes. Pure functions of the scheduler and the selection.
namespace zarn::board {

// What the four selection files hold. 0 selects no process, and every core and group.
struct EventSelection {
    std::uint32_t node = 0;
    std::uint32_t pid = 0;
    std::uint32_t core = 0;
    std::uint32_t gid = 0;
};

// The names of the attributes, but for the selection files.
[[nodiscard]] std::vector<std::string> EventAttributes();

// The text of an attribute. There is only node 0: of another one, what is asked of a node has none.
[[nodiscard]] std::string EventAttributeText(std::string_view attribute, const EventView& view,
                                             const EventSelection& selection);

}  // namespace zarn::board
