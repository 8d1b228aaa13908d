#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// The functions in which the board's programs spend their cycles. The program frame_worker has one
// of each name.
namespace zarn::board {

// One of them.
struct WorkFunction {
    const char* name;
    // Its share of a program's cycles while the memory serves all, before all are brought to the
    // sum 1; in the two versions of the program. 0: that version has no such function.
    std::array<double, 2> weights;
    // How much it waits for the DDR beside the others, per cycle.
    double waits;
};

inline constexpr std::size_t kWorkFunctionCount = 7;
inline constexpr std::uint32_t kWorkVersions = 2;

inline constexpr std::array<WorkFunction, kWorkFunctionCount> kWorkFunctions{{
    {"decode_frame", {25, 25}, 0.5},
    {"filter_image", {20, 12}, 2.0},
    {"match_features", {20, 36}, 0.8},
    {"plan_route", {15, 15}, 0.6},
    {"copy_frame", {10, 10}, 4.0},
    {"pack_result", {10, 6}, 0.2},
    {"sort_tracks", {0, 8}, 0.4},
}};

// A number for each.
using PerFunction = std::array<double, kWorkFunctionCount>;

// Nanoseconds of processor time that the threads of a program have really spent in each, by its own
// clock.
using WorkAccount = std::array<std::atomic<std::uint64_t>, kWorkFunctionCount>;

}  // namespace zarn::board
