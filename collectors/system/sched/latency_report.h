#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "formats/sched.h"

// Reading of the scheduler's latency report, line by line:
//
//   (four lines of head)
//   kworker/0:1:15 |  0.000 ms |  1 | avg:  0.002 ms | max:  0.002 ms | max start:  12.3 s | ...
//   (more rows, then a line of dashes and the totals)
namespace zarn {

// What a line of the report is: no row, a row, or the end.
enum class LatencyLine { PassedOver, Row, End };

// Chooses the rows of the first `topN` tasks that are not idle. Lines with "idle" take no place.
class LatencyRows {
public:
    explicit LatencyRows(std::uint32_t topN) : limit_(std::uint64_t{topN} + kHead) {}

    // Whether the next line, if there is one, may be a row. Asked before each.
    [[nodiscard]] bool WantsMore() const { return taken_ < limit_; }

    // Takes the next line.
    [[nodiscard]] LatencyLine Take(std::string_view line);

private:
    static constexpr std::uint64_t kHead = 4;

    std::uint64_t limit_;  // of lines
    std::uint64_t taken_ = 0;
};

// The cells of a row by kSchedLatencyColumns: views into the line, without blanks at both ends and
// without the labels of delays.
using LatencyRow = std::array<std::string_view, kSchedLatencyColumns.size()>;

// The cells of `line`; columns behind the sixth do not count. Nothing if there are too few.
[[nodiscard]] std::optional<LatencyRow> ParseLatencyRow(std::string_view line);

// What is wrong with a line that gives no row.
inline constexpr const char* kShortLatencyRow = "the line has too few fields";

}  // namespace zarn
