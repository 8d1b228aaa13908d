#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/mem.h"

namespace zarn {

// The values that stand in the kernel's table: all columns but the last.
inline constexpr std::size_t kSharePoolValues = kMemSharePoolColumns.size() - 1;

// A line of the table: a process's share in a group, or a guard, which is text.
struct SharePoolRow {
    std::vector<std::string> values;  // kSharePoolValues of them, the pid first; none of a guard
    std::string guard;
};

enum class SharePoolResult { Ok, EmptyValue, MissingValue };

// Cuts the table, its head and what follows, into rows, which are replaced. The first line counts
// as the head and is passed over. Accepts: lines of nine values or more between white space; what
// stands behind the ninth is left; lines that hold "guard", as they are. Refuses, with the rows
// before it: a line that is empty or begins with white space (EmptyValue), one of fewer values
// (MissingValue).
[[nodiscard]] SharePoolResult ParseSharePoolTable(std::string_view text,
                                                  std::vector<SharePoolRow>& rows);

}  // namespace zarn
