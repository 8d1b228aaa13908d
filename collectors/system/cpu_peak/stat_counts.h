#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zarn {

// What a core has done since the machine started, in the kernel's ticks. The counts are 32 bits of
// the kernel's, and wrap around.
struct CoreCounts {
    std::uint32_t idle = 0;
    std::uint32_t total = 0;  // all columns, those of guests too, which count twice
};

enum class StatResult {
    Ok,
    Incomplete,  // a line has too few columns, or is not there
    NotNumber,   // a column is no number; a line tells
};

// Reads a text of /proc/stat: its first line is the sum and passed over, each of the next
// `coreCount` lines is a core, whatever its name, so that cores are numbered by their lines. Where
// cores are offline there are fewer: the line "intr", which follows the cores, ends them. `counts`
// is replaced; unless the result is Ok it has the cores before the bad line.
[[nodiscard]] StatResult ParseStatCounts(std::string_view text, std::size_t coreCount,
                                         std::vector<CoreCounts>& counts);

}  // namespace zarn
