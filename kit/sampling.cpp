#include "kit/sampling.h"

namespace zarn {

bool TakeSamples(const Sampling& sampling, const StopFlag* stopFlag, const Clock& clock,
                 const std::function<bool()>& takeSample) {
    for (std::uint32_t sample = 0; sample < sampling.count && !IsSet(stopFlag); ++sample) {
        if (!takeSample()) {
            return false;
        }
        clock.sleepSeconds(sampling.interval, stopFlag);
    }
    return true;
}

}  // namespace zarn
