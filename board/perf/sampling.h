#pragma once

#include <map>
#include <vector>

#include "board/perf/program_image.h"
#include "board/state/cpu_observation.h"

namespace zarn::board {

// The programs of the scenario that are sampled, by their places. One that has none of the
// functions has no samples.
using ProgramImages = std::map<std::size_t, ProgramImage>;

// How the system appears among the processes.
inline constexpr std::uint32_t kSystemPid = 2;

// The samples of such work: functions get them by their shares of the cycles. The same for the same
// seed, time and images.
[[nodiscard]] std::vector<CycleSample> SamplesOf(const BoardState& state, const CpuTarget& target,
                                                 const std::vector<WorkPiece>& work,
                                                 const ProgramImages& images);

// The processes of these samples: the images', and the system if it has one.
[[nodiscard]] std::vector<SampledProcess> ProcessesOf(const ProgramImages& images,
                                                      const CpuTarget& target);

}  // namespace zarn::board
