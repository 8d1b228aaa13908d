#include "analyzers/correlation/peak_spans.h"

#include <algorithm>
#include <string>

#include "analyzers/correlation/digit_arithmetic.h"

namespace zarn {
namespace {

// A sum or difference in the 20 digits of a moment.
TimeDigits MomentOf(std::string& digits) {
    if (digits.size() > kTimeDigits) {
        digits.assign(kTimeDigits, '9');
    }
    digits.insert(0, kTimeDigits - digits.size(), '0');
    return TimeDigits::At(digits.data());
}

}  // namespace

PeakSpans SpansAround(const std::vector<TimeDigits>& peaks, std::uint32_t microseconds) {
    const std::string interval = std::to_string(microseconds);
    std::vector<TimeDigits> sorted = peaks;
    std::sort(sorted.begin(), sorted.end());
    PeakSpans spans;
    std::string digits;
    for (const TimeDigits& peak : sorted) {
        PeakSpan span;
        SubtractDigits(peak.Text(), interval, digits);
        span.lower = MomentOf(digits);
        AddDigits(peak.Text(), interval, digits);
        span.upper = MomentOf(digits);
        if (!spans.empty() && !(spans.back().upper < span.lower)) {
            spans.back().upper = span.upper;
        } else {
            spans.push_back(span);
        }
    }
    return spans;
}

}  // namespace zarn
