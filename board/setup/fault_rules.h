#pragma once

#include "board/setup/fields.h"
#include "board/state/board_state.h"

namespace zarn::board {

// Adds the rules of the member "faults", if there is one, behind those of `plan`. Refuses like
// Fields.
void ReadFaultRules(Fields& fields, FaultPlan& plan);

}  // namespace zarn::board
