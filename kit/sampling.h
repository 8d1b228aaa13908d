#pragma once

#include <cstdint>
#include <functional>

#include "foundation/stop_flag.h"
#include "kit/host.h"

namespace zarn {

// How often something is measured.
struct Sampling {
    std::uint32_t count = 0;     // samples
    std::uint32_t interval = 0;  // seconds between them
};

// Calls `takeSample` for each sample and sleeps after it, after the last one too. The flag, asked
// before each sample, ends the sampling as the count does; a sample that fails ends it at once, and
// gives false.
[[nodiscard]] bool TakeSamples(const Sampling& sampling, const StopFlag* stopFlag,
                               const Clock& clock, const std::function<bool()>& takeSample);

}  // namespace zarn
