#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// How much memory bandwidth a bus master asks for at a moment. A pure function of scenario, seed
// and time: the same three give the same number in every process.
namespace zarn::board {

// The model moves in steps of this length; within a step nothing changes.
inline constexpr std::uint64_t kTickMs = 100;

inline constexpr std::size_t kMaxPhases = 8;

// A stretch of time in which the base demand is multiplied by a factor.
struct DemandPhase {
    std::uint32_t lengthMs = 0;
    double factor = 1.0;
};

// The demand of one master. Plain data: it lies in the board's state file.
struct MasterDemand {
    double base = 0.0;   // MB/s
    double noise = 0.0;  // share of the value by which it moves up or down at most, 0 to 1
    std::uint32_t phaseCount = 0;  // phases follow one another and start again; none: factor 1
    std::array<DemandPhase, kMaxPhases> phases{};
    std::uint32_t burstEveryMs = 0;  // one burst in each stretch of this length; 0: none
    std::uint32_t burstLengthMs =
        0;                  // at most burstEveryMs; where in the stretch it lies is random
    double burstAdd = 0.0;  // MB/s on top while it lasts
};

// One burst of a length in each stretch of another, at a random place.
struct BurstTimes {
    std::uint32_t everyMs = 0;  // 0: none
    std::uint32_t lengthMs = 0;
};

[[nodiscard]] constexpr BurstTimes BurstTimesOf(const MasterDemand& demand) {
    return {demand.burstEveryMs, demand.burstLengthMs};
}

// Whole ticks; none of them if both are the same.
struct TickSpan {
    std::uint64_t fromMs = 0;
    std::uint64_t toMs = 0;
};

// A random number of 64 bits that depends on the four values alone.
[[nodiscard]] std::uint64_t HashOf(std::uint64_t seed, std::uint64_t stream, std::uint64_t master,
                                   std::uint64_t step);

// A real in [-1, 1) from the same.
[[nodiscard]] double SwingOf(std::uint64_t seed, std::uint64_t stream, std::uint64_t master,
                             std::uint64_t step);

// The ticks that begin in a master's burst of one stretch, counted from 0; everyMs is not 0.
[[nodiscard]] TickSpan BurstOf(const BurstTimes& times, std::uint64_t seed, std::size_t master,
                               std::uint64_t stretch);

// Whether `timeMs` lies in a tick that is one of them.
[[nodiscard]] bool IsInBurst(const BurstTimes& times, std::uint64_t seed, std::size_t master,
                             std::uint64_t timeMs);

// The factor of the phase at `timeMs`.
[[nodiscard]] double PhaseFactor(const MasterDemand& demand, std::uint64_t timeMs);

// The demand in MB/s, never negative; `master` is the index in kMasters, `timeMs` counts from the
// board's start.
[[nodiscard]] double DemandAt(const MasterDemand& demand, std::uint64_t seed, std::size_t master,
                              std::uint64_t timeMs);

}  // namespace zarn::board
