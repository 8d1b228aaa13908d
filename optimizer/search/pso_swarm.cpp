#include "optimizer/search/pso_swarm.h"

#include <algorithm>
#include <map>
#include <string>

namespace zarn {
namespace {

constexpr std::int16_t kWholeRangeLow = 0;    // GB/s
constexpr std::int16_t kWholeRangeHigh = 51;  // GB/s, what the DDR gives at most

// A record as the search writes it: hard limit, master and priority stay 0.
QosConfig MakeRecord(const std::string& name, std::uint32_t mpamid, std::uint32_t low,
                     std::uint32_t high) {
    QosConfig record{};
    record.mpam_name = name;
    record.mpamid = mpamid;
    record.bw_low = low;
    record.bw_high = high;
    return record;
}

std::int16_t ToKey(std::uint32_t mpamid) {
    return static_cast<std::int16_t>(mpamid);
}

// Cut towards zero into [low, high], the ends in either order. Clamping first gives the same
// integer as cutting first, and a sum of any size is in range when it is cut.
int CutInto(double value, int low, int high) {
    return static_cast<int>(std::clamp<double>(value, std::min(low, high), std::max(low, high)));
}

std::int16_t CutToUnsigned(double value) {
    return static_cast<std::int16_t>(value > 0.0 ? static_cast<std::uint32_t>(value) : 0U);
}

}  // namespace

PsoPosition StartingBest() {
    PsoPosition best;
    for (const auto& [group, mpamids] : stressGroups) {
        for (const std::uint16_t mpamid : mpamids) {
            best.bwLow[ToKey(mpamid)] = kWholeRangeLow;
            best.bwHigh[ToKey(mpamid)] = kWholeRangeHigh;
        }
    }
    return best;
}

std::vector<QosConfig> DrawCandidate(const PsoState& state, RandomSource& random) {
    std::vector<QosConfig> candidate;
    for (const auto& [group, mpamids] : stressGroups) {
        const std::vector<std::uint16_t>& values = state.psoSpaceBounds.at(group).values;
        for (const std::uint16_t mpamid : mpamids) {
            std::size_t index = 0;
            const std::uint16_t low = RandomSpaceIndex(values, index, random);
            const std::uint16_t high = RandomSpaceIndex(values, index, random);
            candidate.push_back(MakeRecord(group, mpamid, low, high));
        }
    }
    return candidate;
}

PsoPosition PositionOf(const std::vector<QosConfig>& candidate, double value) {
    PsoPosition position;
    for (const QosConfig& record : candidate) {
        position.bwLow[ToKey(record.mpamid)] = static_cast<std::int16_t>(record.bw_low);
        position.bwHigh[ToKey(record.mpamid)] = static_cast<std::int16_t>(record.bw_high);
    }
    position.value = value;
    return position;
}

PsoPosition DrawVelocity(const PsoState& state, const std::vector<QosConfig>& candidate,
                         RandomSource& random) {
    PsoPosition velocity;
    for (const QosConfig& record : candidate) {
        const PsoBound& bound = state.psoVelBounds.at(record.mpam_name);
        velocity.bwLow[ToKey(record.mpamid)] =
            CutToUnsigned(RandomReal(bound.low, bound.up, random));
        velocity.bwHigh[ToKey(record.mpamid)] =
            CutToUnsigned(RandomReal(bound.low, bound.up, random));
    }
    return velocity;
}

PsoStep StepCoordinate(const PsoState& state, const PsoCoordinate& coordinate,
                       RandomSource& random) {
    const double towardsPersonal = RandomReal(0, 1, random);
    const double towardsGlobal = RandomReal(0, 1, random);
    const int x = coordinate.position;
    const double sum = state.w_v * coordinate.velocity +
                       state.w_p * towardsPersonal * (coordinate.personalBest - x) +
                       state.w_g * towardsGlobal * (coordinate.globalBest - x);
    const PsoBound& speed = *coordinate.velocityBound;
    const PsoBound& space = *coordinate.spaceBound;
    const int velocity = CutInto(sum, speed.low, speed.up);
    const int bound =
        std::clamp<int>(x + velocity, std::min(space.low, space.up), std::max(space.low, space.up));
    return {static_cast<std::int16_t>(velocity), static_cast<std::int16_t>(bound / 2 * 2)};
}

std::vector<QosConfig> StepParticle(PsoState& state, std::size_t k, RandomSource& random) {
    const PsoPosition& position = state.positions.at(k);
    const PsoPosition& personalBest = state.personalBests.at(k);
    PsoPosition& velocity = state.velocities.at(k);
    using Bounds = std::map<std::int16_t, std::int16_t>;
    std::vector<QosConfig> candidate;
    for (const auto& [group, mpamids] : stressGroups) {
        const PsoBound& speed = state.psoVelBounds.at(group);
        const PsoBound& space = state.psoSpaceBounds.at(group);
        for (const std::uint16_t mpamid : mpamids) {
            const std::int16_t key = ToKey(mpamid);
            const auto step = [&](Bounds PsoPosition::*side) {
                std::int16_t& v = (velocity.*side).at(key);
                const PsoStep next =
                    StepCoordinate(state,
                                   {(position.*side).at(key), v, (personalBest.*side).at(key),
                                    (state.globalBest.*side).at(key), &speed, &space},
                                   random);
                v = next.velocity;
                return static_cast<std::uint32_t>(next.bound);
            };
            const std::uint32_t low = step(&PsoPosition::bwLow);
            const std::uint32_t high = step(&PsoPosition::bwHigh);
            candidate.push_back(MakeRecord(group, mpamid, low, high));
        }
    }
    return candidate;
}

std::vector<QosConfig> ConfigsOfBest(const PsoPosition& best) {
    std::vector<QosConfig> configs;
    for (const auto& [mpamid, low] : best.bwLow) {
        configs.push_back(MakeRecord("", static_cast<std::uint32_t>(mpamid),
                                     static_cast<std::uint32_t>(low),
                                     static_cast<std::uint32_t>(best.bwHigh.at(mpamid))));
    }
    return configs;
}

}  // namespace zarn
