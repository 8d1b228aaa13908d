#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "report/blocks.h"

namespace zarn::report {

// What 17 digits of local time, or the 14 without milliseconds, stand for on the report's axis;
// none for any other text and for a day that no calendar has. Prints nothing, and does not ask what
// the local time of this machine is, which may not be the board's.
[[nodiscard]] std::optional<Moment> MomentIn(std::string_view digits);

// Whether digits could stand for that moment: its year has four.
[[nodiscard]] bool IsOnTheClock(Moment moment);

// Seconds such as "17250.156853" as milliseconds.
[[nodiscard]] std::optional<double> MillisecondsIn(std::string_view seconds);

// The whole of `text` as a number, blanks around it apart: finite, and nothing behind it.
[[nodiscard]] std::optional<double> WholeNumberIn(std::string_view text);

// What date and time a moment is, "2026-11-22 12:10:43.504".
[[nodiscard]] std::string DateOf(Moment moment);

}  // namespace zarn::report
