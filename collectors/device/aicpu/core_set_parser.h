#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zarn {

// The cores of the AICPU complex as its core set tells them.
struct CoreSet {
    enum class Verdict {
        Ok,
        Empty,         // there is no core
        BadFormat,     // "-" at the beginning or the end
        NoInteger,     // `reason` says why
        OutOfRange,    // beyond 32 bits, likewise
        IllegalRange,  // the lowest is below 0, or above the highest
    };

    Verdict verdict = Verdict::Empty;
    std::int32_t min = -1;  // lowest and highest core; also of an illegal range
    std::int32_t max = -1;
    std::string reason;
};

// Reads the core set: its first word is a core, or the lowest and the highest with "-" between
// them. Accepts: digits with anything behind them ("1-3,5" is 1 to 3), as numbers are read
// elsewhere. Skips: what follows the first word.
[[nodiscard]] CoreSet ParseCoreSet(std::string_view text);

}  // namespace zarn
