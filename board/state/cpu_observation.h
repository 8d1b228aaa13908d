#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "board/model/standard_events.h"
#include "board/state/board_state.h"

// What the programs do to the board's processor, by scenario, seed, time and the QoS settings as
// they are.
namespace zarn::board {

// Cycles a second of each core.
inline constexpr double kCpuHz = 2e9;
// The board has so many cores, or as many as its scenario names.
inline constexpr std::uint32_t kLeastCores = 4;
// What each core does for the system, beside all programs.
inline constexpr double kSystemLoad = 0.02;
// The place of the system behind the programs.
inline constexpr std::size_t kSystemWork = kMaxPrograms;

// What is looked at. Either may be empty.
struct CpuTarget {
    std::uint32_t cores = 0;     // a bit for each core, of which all is looked at
    std::uint32_t programs = 0;  // a bit for each program, on whatever core
};

[[nodiscard]] std::uint32_t CoreCount(const BoardState& state);
[[nodiscard]] CpuTarget AllCores(const BoardState& state);

// A stretch of the board's time.
struct BoardSpan {
    std::uint64_t fromMs = 0;
    std::uint64_t toMs = 0;
};

// What one program, or the system, does in a part of a tick: so many cycles, all alike.
struct WorkPiece {
    std::size_t program = 0;  // or kSystemWork
    BoardSpan span;
    double stretch = 1.0;  // what is asked for of the CPU's partition / what is granted
    double cycles = 0.0;
};

// The work of the target in that time, in the order of time. Whoever does nothing has no piece. The
// caller holds the board's lock, or owns the state.
[[nodiscard]] std::vector<WorkPiece> WorkOf(const BoardState& state, const CpuTarget& target,
                                            const BoardSpan& span);

// The profile of a program, or of the system.
[[nodiscard]] const PipelineProfile& ProfileOf(const BoardState& state, std::size_t program);

// The events of such work.
[[nodiscard]] CpuCounts CountsOf(const BoardState& state, const std::vector<WorkPiece>& work);
[[nodiscard]] StandardCounts StandardCountsOf(const BoardState& state,
                                              const std::vector<WorkPiece>& work);

// Its cycles by program and function. The system has no functions: its cycles stand in the first
// place.
[[nodiscard]] std::array<PerFunction, kMaxPrograms + 1> CyclesByFunction(
    const BoardState& state, const std::vector<WorkPiece>& work);

}  // namespace zarn::board
