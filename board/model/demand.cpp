#include "board/model/demand.h"

#include <algorithm>

namespace zarn::board {
namespace {

// Independent sequences of random numbers.
enum Stream : std::uint64_t { kNoiseStream = 1, kBurstStream = 2 };

// The finisher of a splitmix generator: every input bit moves every output bit.
std::uint64_t Mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31U);
}

// The first tick that does not begin before.
std::uint64_t TickFrom(std::uint64_t timeMs) {
    return (timeMs + kTickMs - 1) / kTickMs * kTickMs;
}

}  // namespace

std::uint64_t HashOf(std::uint64_t seed, std::uint64_t stream, std::uint64_t master,
                     std::uint64_t step) {
    return Mix(Mix(Mix(Mix(seed) ^ stream) ^ master) ^ step);
}

double SwingOf(std::uint64_t seed, std::uint64_t stream, std::uint64_t master, std::uint64_t step) {
    // The upper 53 bits fill a double's mantissa.
    return static_cast<double>(HashOf(seed, stream, master, step) >> 11U) * 0x1p-52 - 1.0;
}

TickSpan BurstOf(const BurstTimes& times, std::uint64_t seed, std::size_t master,
                 std::uint64_t stretch) {
    const std::uint64_t every = times.everyMs;
    const std::uint64_t length = std::min(times.lengthMs, times.everyMs);
    const std::uint64_t fromMs =
        stretch * every + HashOf(seed, kBurstStream, master, stretch) % (every - length + 1);
    return {TickFrom(fromMs), TickFrom(fromMs + length)};
}

bool IsInBurst(const BurstTimes& times, std::uint64_t seed, std::size_t master,
               std::uint64_t timeMs) {
    if (times.everyMs == 0) {
        return false;
    }
    const std::uint64_t tickMs = timeMs / kTickMs * kTickMs;
    const TickSpan ticks = BurstOf(times, seed, master, tickMs / times.everyMs);
    return tickMs >= ticks.fromMs && tickMs < ticks.toMs;
}

double PhaseFactor(const MasterDemand& demand, std::uint64_t timeMs) {
    const std::size_t count = std::min<std::size_t>(demand.phaseCount, kMaxPhases);
    std::uint64_t cycle = 0;
    for (std::size_t i = 0; i < count; ++i) {
        cycle += demand.phases[i].lengthMs;
    }
    if (cycle == 0) {
        return 1.0;
    }
    std::uint64_t inside = timeMs % cycle;
    std::size_t phase = 0;
    while (inside >= demand.phases[phase].lengthMs) {
        inside -= demand.phases[phase].lengthMs;
        ++phase;
    }
    return demand.phases[phase].factor;
}

double DemandAt(const MasterDemand& demand, std::uint64_t seed, std::size_t master,
                std::uint64_t timeMs) {
    const std::uint64_t tick = timeMs / kTickMs;
    const std::uint64_t tickMs = tick * kTickMs;
    double value = demand.base * PhaseFactor(demand, tickMs);
    if (IsInBurst(BurstTimesOf(demand), seed, master, tickMs)) {
        value += demand.burstAdd;
    }
    value *= 1.0 + demand.noise * SwingOf(seed, kNoiseStream, master, tick);
    return std::max(value, 0.0);
}

}  // namespace zarn::board
