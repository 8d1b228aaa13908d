#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

// One row of a sample: the id as the table gives it, or "total", and the bandwidth in MB/s as text.
struct BandwidthRow {
    std::string id;
    std::string value;
};

// Cuts a raw log of bandwidth tables into rows, in order, and puts a row "total" with the sum after
// every `mastersPerSample` of them.
// Accepts: lines of exactly five non-empty columns between "|"; blanks around the first two do not
// count. The second column is read as a decimal integer; what follows the digits stays in the text.
// Skips: empty lines, lines of any other number of columns (such as the time stamps), and heads,
// whose first column is "mpamid". Refuses: a second column that is no integer throws
// std::invalid_argument, one beyond 32 bits (signed) std::out_of_range.
[[nodiscard]] std::vector<BandwidthRow> ParseBandwidthLog(std::string_view text,
                                                          std::size_t mastersPerSample);

}  // namespace zarn
