#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/bench/stress_rates.h"

// The best that bounds of the searched partitions can do on a board, noise left out.
namespace zarn::board {

// The partitions whose bounds are searched, as indexes in kMasters: AI data, CPU, image core.
inline constexpr std::size_t kSearchedCount = 3;
inline constexpr std::array<std::size_t, kSearchedCount> kSearched = {4, 0, 3};

// Bounds in GB/s of each.
struct SearchedBounds {
    std::array<std::uint32_t, kSearchedCount> low{};
    std::array<std::uint32_t, kSearchedCount> high{};
};

// What must not get worse.
struct BenchLimits {
    double worseRate = 0.1;     // share of their mean rate that AI and image stress may lose
    double cameraFloor = 28.0;  // the camera's smallest rate stays above it
};

// The rates of a whole run.
struct RunRates {
    StressRates mean{};
    double leastCamera = 0.0;
};

struct BestBounds {
    bool found = false;  // some bounds keep the limits
    SearchedBounds bounds;
    RunRates rates;
    std::uint64_t tried = 0;  // settings of bounds that were told apart
};

// The noiseless rates of a run on the board as it is set.
[[nodiscard]] RunRates RatesOfRun(const BoardState& state, const BenchSettings& settings);

// Writes the bounds to the board, without hard limits, as the search does.
void SetBounds(BoardState& state, const SearchedBounds& bounds);

// True if `rates` keeps the limits beside `before`.
[[nodiscard]] bool KeepsLimits(const RunRates& rates, const RunRates& before,
                               const BenchLimits& limits);

// Tries every setting of low <= high in steps of `step` GB/s (1 or more) for the three partitions
// and returns the one with the greatest mean rate of the CPU stress that keeps the limits beside
// the board as it is. A high bound below its low works as the low one, so nothing is left out;
// bounds beyond what a master ever asks for work alike and are tried once.
[[nodiscard]] BestBounds FindBestBounds(const BoardState& state, const BenchSettings& settings,
                                        const BenchLimits& limits, std::uint32_t step);

}  // namespace zarn::board
