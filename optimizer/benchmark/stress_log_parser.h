#pragma once

#include <cstddef>
#include <string_view>

#include "optimizer/search/pso_types.h"

namespace zarn {

// Lines of the stress benchmark's log, counted from 1: four head lines, then the result lines of
// which at most 26 count.
inline constexpr std::size_t kStressHeadLines = 4;
inline constexpr std::size_t kStressLastLine = 30;

// Reads the result lines of a stress log and appends their frame rates to the lists of `perf`.
// Accepts: lines 5 to 30 that begin with a whole result; whatever follows the last "fps." of it.
// Skips: the four head lines, whatever they hold, and everything from line 31 on.
// Refuses, with false, at the first such line that is no result: an empty one, an indented one, one
// with a rate that has no point or that no double holds, one whose result needs more than 4096
// bytes. What the lines before it gave stays in `perf`. A log that ends early is no failure.
// std::regex_error if the library cannot build the expression.
[[nodiscard]] bool ParseStressLog(std::string_view text, PerfMap& perf);

}  // namespace zarn
