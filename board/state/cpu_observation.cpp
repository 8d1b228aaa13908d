#include "board/state/cpu_observation.h"

#include <algorithm>

#include "board/state/observation.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kCpuStream = 11;
constexpr std::size_t kCpuMaster = 0;
// Share by which a program's cycles move from tick to tick.
constexpr double kCycleSwing = 0.05;
// A partition that gets next to nothing still gets on.
constexpr double kMostStretch = 20.0;
constexpr double kMsPerSecond = 1000.0;

std::uint32_t CountBits(std::uint32_t bits) {
    std::uint32_t count = 0;
    for (; bits != 0; bits &= bits - 1) {
        ++count;
    }
    return count;
}

PipelineProfile MakeSystemProfile() {
    PipelineProfile profile;
    profile.functions[0] = 1.0;
    return profile;
}

// How many cores' worth of a program, or of the system, is looked at.
double LoadOf(const BoardState& state, const CpuTarget& target, std::size_t program) {
    if (program == kSystemWork) {
        return kSystemLoad * CountBits(target.cores);
    }
    const PipelineProfile& profile = ProfileOf(state, program);
    const bool isNamed = (target.programs & (1U << program)) != 0;
    return profile.load * CountBits(isNamed ? profile.cores : profile.cores & target.cores);
}

double StretchAt(const BoardState& state, std::uint64_t timeMs) {
    const double served = ServedShare(state, Observe(state, timeMs), kCpuMaster);
    return served * kMostStretch > 1.0 ? 1.0 / served : kMostStretch;
}

}  // namespace

std::uint32_t CoreCount(const BoardState& state) {
    std::uint32_t named = 0;
    for (std::size_t i = 0; i < state.scenario.programs.count; ++i) {
        named |= state.scenario.programs.plans[i].pipeline.cores;
    }
    std::uint32_t count = kLeastCores;
    while (named >> count != 0) {
        ++count;
    }
    return count;
}

CpuTarget AllCores(const BoardState& state) {
    return {(1U << CoreCount(state)) - 1, 0};
}

const PipelineProfile& ProfileOf(const BoardState& state, std::size_t program) {
    static const PipelineProfile system = MakeSystemProfile();
    return program == kSystemWork ? system : state.scenario.programs.plans[program].pipeline;
}

std::vector<WorkPiece> WorkOf(const BoardState& state, const CpuTarget& target,
                              const BoardSpan& span) {
    std::vector<WorkPiece> work;
    for (std::uint64_t at = span.fromMs; at < span.toMs;) {
        const std::uint64_t tick = at / kTickMs;
        const BoardSpan part{at, std::min((tick + 1) * kTickMs, span.toMs)};
        at = part.toMs;
        const double stretch = StretchAt(state, part.fromMs);
        const double cycles = static_cast<double>(part.toMs - part.fromMs) * kCpuHz / kMsPerSecond;
        for (std::size_t i = 0; i <= kMaxPrograms; ++i) {
            const double load = LoadOf(state, target, i);
            const double swing = 1.0 + kCycleSwing * SwingOf(state.seed, kCpuStream, i, tick);
            if (load > 0.0) {
                work.push_back({i, part, stretch, load * swing * cycles});
            }
        }
    }
    return work;
}

CpuCounts CountsOf(const BoardState& state, const std::vector<WorkPiece>& work) {
    CpuCounts counts;
    for (const WorkPiece& piece : work) {
        counts.Add(RatesPerCycle(ProfileOf(state, piece.program), piece.stretch), piece.cycles);
    }
    return counts;
}

StandardCounts StandardCountsOf(const BoardState& state, const std::vector<WorkPiece>& work) {
    StandardCounts counts;
    for (const WorkPiece& piece : work) {
        counts.Add(StandardRatesPerCycle(ProfileOf(state, piece.program), piece.stretch),
                   piece.cycles);
    }
    return counts;
}

std::array<PerFunction, kMaxPrograms + 1> CyclesByFunction(const BoardState& state,
                                                           const std::vector<WorkPiece>& work) {
    std::array<PerFunction, kMaxPrograms + 1> cycles{};
    for (const WorkPiece& piece : work) {
        const PerFunction shares = FunctionShares(ProfileOf(state, piece.program), piece.stretch);
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            cycles[piece.program][i] += shares[i] * piece.cycles;
        }
    }
    return cycles;
}

}  // namespace zarn::board
