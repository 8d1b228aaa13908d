#pragma once

#include <cstdint>
#include <vector>

#include "analyzers/correlation/time_digits.h"

// What lies near a peak.
namespace zarn {

// From one moment to another, both within. They are computed on digits, so that one may be a moment
// that no clock shows.
struct PeakSpan {
    TimeDigits lower;
    TimeDigits upper;
};

// In rising order, none touching another.
using PeakSpans = std::vector<PeakSpan>;

// The spans of so many microseconds on either side of each peak; those that overlap are one. What
// would lie beyond 20 digits ends at the last, or first, of them.
[[nodiscard]] PeakSpans SpansAround(const std::vector<TimeDigits>& peaks,
                                    std::uint32_t microseconds);

// Walks spans once, along moments that never go back. The spans must outlive it.
class SpanWalk {
public:
    explicit SpanWalk(const PeakSpans& spans)
        : at_(spans.data()), end_(spans.data() + spans.size()) {}

    // Whether a span holds the moment.
    friend bool IsInPeak(const TimeDigits& time, SpanWalk& spans);

private:
    const PeakSpan* at_;
    const PeakSpan* end_;
};

inline bool IsInPeak(const TimeDigits& time, SpanWalk& spans) {
    while (spans.at_ != spans.end_ && spans.at_->upper < time) {
        ++spans.at_;
    }
    return spans.at_ != spans.end_ && !(time < spans.at_->lower);
}

}  // namespace zarn
