#pragma once

#include "board/model/event_plan.h"
#include "board/model/programs.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Reads the member `event_scheduler`, an object, of a scenario (docs/board.md). Refused besides
// what Fields refuses: names that stand for no program or thread, numbers that are taken, more
// threads than the program has, more events in a second than kMostEventsPerS.
inline constexpr double kMostEventsPerS = 20000.0;
void ReadEventPlan(Fields& scenario, const BoardPrograms& programs, EventPlan& plan);

}  // namespace zarn::board
