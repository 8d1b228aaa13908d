#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "board/bench/bench_settings.h"
#include "board/state/observation.h"

// What the stress benchmark measures on a virtual board.
namespace zarn::board {

// Frames per second of each stress.
using StressRates = std::array<double, kStressCount>;

// The rates of period `period` as the memory model gives them. A run has a clock of its own that
// starts at 0, so that the same period of two runs meets the same demand. The caller holds the
// board's lock, or owns the state.
[[nodiscard]] StressRates RatesAt(const BoardState& state, const BenchSettings& settings,
                                  std::uint32_t period);

// The rates that come of one moment of the memory.
[[nodiscard]] StressRates RatesOf(const BoardState& state, const BenchSettings& settings,
                                  const MemoryMoment& moment);

// The rates as they are measured in run number `run`: with noise that depends on the seeds, the
// run, the period and the stress alone.
[[nodiscard]] StressRates MeasuredRates(const BoardState& state, const BenchSettings& settings,
                                        std::uint32_t run, std::uint32_t period);

// Four lines that tell about a run, each with its newline.
[[nodiscard]] std::string HeadLines(const BenchSettings& settings, std::uint32_t run);

// One result line with its newline.
[[nodiscard]] std::string ResultLine(const StressRates& rates);

}  // namespace zarn::board
