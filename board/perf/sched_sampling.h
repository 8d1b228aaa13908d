#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/model/sched_model.h"
#include "board/perf/perf_data.h"
#include "board/state/board_state.h"

// Samples of what the cores of the board's scheduler run.
namespace zarn::board {

// What is sampled: in each of `frequency` parts of a second one moment, the same on all cores.
struct SchedSampling {
    std::uint32_t cores = 0;  // a bit for each
    std::uint32_t frequency = 0;
    SchedSpan span;
};

// A sample of each of the cores that runs a task at such a moment, in one of the task's stacks: how
// often in which one goes by their shares. A time is sampled alike whenever it is asked for.
[[nodiscard]] std::vector<CycleSample> SchedSamples(const BoardState& state,
                                                    const SchedSampling& sampling);

// The processes of these samples, with their threads. `folder` is the board's, in which their
// functions are found.
[[nodiscard]] std::vector<SampledProcess> SchedSampledProcesses(const BoardState& state,
                                                                const std::string& folder);

// The folder of the board this process runs on.
[[nodiscard]] std::string BoardFolder();

}  // namespace zarn::board
