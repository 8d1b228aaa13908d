#pragma once

#include "board/model/demand.h"
#include "board/model/masters.h"
#include "board/model/sched_plan.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Reads the member `sched` of a scenario (docs/board.md): the processes that share the cores.
// `demands` are those of the bus masters, which bursts of tasks may follow.
// Refused besides what Fields refuses: names that are none or are taken, a priority without a
// real-time policy and the other way round, cores that are not there, locks taken one in another,
// and work in pieces so small that nobody could follow it.
void ReadSchedPlan(Fields& scenario, const PerMaster<MasterDemand>& demands, SchedPlan& plan);

}  // namespace zarn::board
