#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "comparators/cpu/cpu_figures.h"

namespace zarn {

// Why a summary line cannot be read.
struct SummaryFailure {
    std::string_view
        unknownKind;  // the word behind a number that is no kind of this line, or empty
};

// Appends the figures of a summary line of `top` to their lists in `values`: all of the line's or,
// on a failure, none.
// Accepts: "top - ...: 0.69, 0.22, 0.07", the first three numbers behind the last colon; on the
// other lines the parts between commas of what stands between the first colon and the next, each
// "<number> <kind>" in any order; behind the kind "used." of the swap line the available memory.
// Skips: anything behind the kind, and kinds that the line lacks.
// Refuses: a line without these pieces, a part of one word, an unknown kind, and what is no number
// (which prints the utilities' line as well).
[[nodiscard]] std::optional<SummaryFailure> ParseSummaryLine(SummaryLine kind,
                                                             std::string_view line,
                                                             SystemValues& values);

// Which piece of a row's time cannot be read.
enum class TimeFailure { None, Time, Minutes, Seconds };

// Appends the figures of a row of `top` for a process to their lists in `values`.
// Accepts: at least eleven blank-separated tokens, by index; the leading number of a token counts,
// so that "1.2g" is 1.2; the time as minutes and seconds with one colon between them.
// Skips: a row of fewer tokens.
// Refuses: a token that is no number (which prints the utilities' line); the row's other figures
// count nevertheless.
[[nodiscard]] TimeFailure ParseProcessRow(std::string_view row, ProcessValues& values);

}  // namespace zarn
