#include "board/server/burst_texts.h"

namespace zarn::board {

std::string BurstsText(const BoardState& state, const SchedSpan& span) {
    const Scenario& scenario = state.scenario;
    std::string text = "begin_us,end_us,kind,name\n";
    for (const KnownBurst& burst : BurstsIn(scenario.demands, scenario.sched, state.seed, span)) {
        text += std::to_string(burst.span.fromUs) + "," + std::to_string(burst.span.toUs) + "," +
                (burst.isMasters
                     ? "master," + std::string(kMasters[burst.index].name)
                     : std::string("task,") + scenario.sched.tasks[burst.index].name.data()) +
                "\n";
    }
    return text;
}

}  // namespace zarn::board
