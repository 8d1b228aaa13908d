#include "collectors/system/sched/latency_report.h"

#include <cstddef>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kIdle = "idle";
constexpr std::string_view kClosingDashes = "-------------";
constexpr std::size_t kFirstLabelled = 3;  // "avg:  0.002 ms" and those behind it

// What stands behind the label, up to another colon.
bool DropLabel(std::string_view& cell) {
    PieceCursor pieces(cell, ':');
    std::string_view label;
    return pieces.Next(label) && pieces.Next(cell);
}

}  // namespace

LatencyLine LatencyRows::Take(std::string_view line) {
    if (taken_++ < kHead) {
        return LatencyLine::PassedOver;
    }
    if (line.find(kIdle) != std::string_view::npos) {
        ++limit_;
        return LatencyLine::PassedOver;
    }
    if (line.find(kClosingDashes) != std::string_view::npos) {
        limit_ = 0;
        return LatencyLine::End;
    }
    return LatencyLine::Row;
}

std::optional<LatencyRow> ParseLatencyRow(std::string_view line) {
    PieceCursor cells(line, '|');
    LatencyRow row;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!cells.Next(row[i]) || (i >= kFirstLabelled && !DropLabel(row[i]))) {
            return std::nullopt;
        }
        row[i] = TrimSpacesView(row[i]);
    }
    return row;
}

}  // namespace zarn
