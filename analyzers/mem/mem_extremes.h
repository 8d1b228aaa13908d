#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analyzers/mem/mem_frames.h"

// Extremes of a figure over its frames. Each of these prints its line or lines when it fails.
namespace zarn {

// Limits are compared with values times this, so that they are finer than a whole unit.
inline constexpr std::int32_t kMemFrameScale = 10;

// The indexes of the frames, in order, whose values lie above the mean by more than `threshold`
// times it, and above those beside them; the frames at the ends have one beside them. A single
// frame is one of them without any test. Fails, too, without a frame, and if a value is not all
// digits or no 32-bit integer.
[[nodiscard]] bool LocalMaxFrames(const MemFrames& frames, float threshold,
                                  std::vector<std::size_t>& indexes);

// The mirror: below the mean, and below those beside them.
[[nodiscard]] bool LocalMinFrames(const MemFrames& frames, float threshold,
                                  std::vector<std::size_t>& indexes);

struct MemSummary {
    std::int32_t max = 0;
    std::int32_t min = 0;
    float mean = 0.0F;  // the sum, in single precision, / the number of frames
};

// Of at least one frame. A value counts with the integer at its front; fails if it has none or one
// beyond 32 bits.
[[nodiscard]] bool SummarizeMemFrames(const MemFrames& frames, MemSummary& summary);

}  // namespace zarn
