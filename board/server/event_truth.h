#pragma once

#include <string>

#include "board/server/event_view.h"

namespace zarn::board {

// What the scheduler knows at a moment, for those who check what they have read: counts, mean
// queues and waits, and all that was ever over a threshold by process and thread.
[[nodiscard]] std::string EventTruthText(const EventView& view);

}  // namespace zarn::board
