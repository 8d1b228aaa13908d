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

// So many misses of the last cache make a sample.
inline constexpr std::uint32_t kMissesPerSample = 2000;

// The samples of such work: functions get them by their shares of the cycles, of misses by those of
// the lines that they get from the DDR. The same for the same seed, time and images.
[[nodiscard]] std::vector<CycleSample> SamplesOf(const BoardState& state, const CpuTarget& target,
                                                 const std::vector<WorkPiece>& work,
                                                 const ProgramImages& images,
                                                 SampledEvent event = SampledEvent::Cycles);

// The processes of these samples: the images', and the system if it has one.
[[nodiscard]] std::vector<SampledProcess> ProcessesOf(const ProgramImages& images,
                                                      const CpuTarget& target);

}  // namespace zarn::board
