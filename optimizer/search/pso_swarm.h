#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "optimizer/search/pso_random.h"
#include "optimizer/search/pso_types.h"

// The arithmetic of the swarm, without board and clock. Candidates are lists of QosConfig in the
// order of stressGroups, each record named after its group; bounds in GB/s.
namespace zarn {

// The best before anything was tried: the whole range, 0 to 51, for every partition, value 0.
[[nodiscard]] PsoPosition StartingBest();

// A first candidate: each low bound drawn from the group's values, the high bound from that value
// upwards. std::out_of_range if a group has no values.
[[nodiscard]] std::vector<QosConfig> DrawCandidate(const PsoState& state, RandomSource& random);

// The candidate as a position.
[[nodiscard]] PsoPosition PositionOf(const std::vector<QosConfig>& candidate, double value);

// A first velocity for the candidate's particle: per record one real between the group's velocity
// bounds for the low and one for the high bound, cut to an unsigned integer, so that a negative
// draw starts at rest.
[[nodiscard]] PsoPosition DrawVelocity(const PsoState& state,
                                       const std::vector<QosConfig>& candidate,
                                       RandomSource& random);

// One coordinate of a particle: where it stands, what drives it, and its limits.
struct PsoCoordinate {
    std::int16_t position = 0;
    std::int16_t velocity = 0;
    std::int16_t personalBest = 0;
    std::int16_t globalBest = 0;
    const PsoBound* velocityBound = nullptr;  // never null when stepped
    const PsoBound* spaceBound = nullptr;     // never null when stepped
};

// What a step gives: the new velocity, and the even bound the candidate tries.
struct PsoStep {
    std::int16_t velocity = 0;
    std::int16_t bound = 0;
};

// One step of one coordinate. Draws twice: for the pull of the personal, then of the global best.
[[nodiscard]] PsoStep StepCoordinate(const PsoState& state, const PsoCoordinate& coordinate,
                                     RandomSource& random);

// The next candidate of particle `k`. Stores the new velocities. The particle's position stays
// where the initialisation put it, so that each candidate is that point plus the velocity; a high
// bound may come out below its low bound. std::out_of_range if the state lacks the particle or a
// group.
[[nodiscard]] std::vector<QosConfig> StepParticle(PsoState& state, std::size_t k,
                                                  RandomSource& random);

// The records that put `best` on the device: no name, no hard limit, in key order.
[[nodiscard]] std::vector<QosConfig> ConfigsOfBest(const PsoPosition& best);

}  // namespace zarn
