#include "analyzers/sched/latency_ranking.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "collectors/system/sched/latency_report.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

void AddRow(std::string_view line, std::vector<LatencyCells>& rows) {
    const std::optional<LatencyRow> row = ParseLatencyRow(line);
    if (!row) {
        PrintError("[SchedAnalyzer] Error occurs in ConvertLineToTokens: " +
                   std::string(kShortLatencyRow));
        return;
    }
    LatencyCells cells;
    std::copy(row->begin(), row->end(), cells.begin());
    rows.push_back(std::move(cells));
}

// The number of seconds in "12.5 s".
std::optional<double> MomentOf(const LatencyCells& row) {
    PieceCursor pieces(row[kMaxDelayAtCell], ' ');
    std::string_view seconds;
    return pieces.Next(seconds) ? NumberIn(seconds) : std::nullopt;
}

// Rows without a moment come last, after one line about them all; equal ones keep their order.
void SortByMoment(std::vector<LatencyCells>& rows) {
    std::vector<std::pair<std::pair<bool, double>, std::size_t>> order;
    order.reserve(rows.size());
    bool allHaveMoments = true;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::optional<double> moment = MomentOf(rows[i]);
        allHaveMoments = allHaveMoments && moment;
        order.push_back({{!moment, moment.value_or(0.0)}, i});
    }
    if (!allHaveMoments) {
        PrintError(
            "[SchedAnalyzer] Error occurs when translate string to double for maxDelayAt time: "
            "stod");
    }
    std::sort(order.begin(), order.end());
    std::vector<LatencyCells> sorted;
    sorted.reserve(rows.size());
    for (const auto& [key, index] : order) {
        sorted.push_back(std::move(rows[index]));
    }
    rows = std::move(sorted);
}

}  // namespace

std::vector<LatencyCells> ReadTopTasks(const NextLine& next, std::uint32_t topN) {
    std::vector<LatencyCells> rows;
    LatencyRows report(topN);
    std::string_view line;
    while (report.WantsMore() && next(line)) {
        if (report.Take(line) == LatencyLine::Row) {
            AddRow(line, rows);
        }
    }
    SortByMoment(rows);
    return rows;
}

std::vector<LatencyCells> ReadTaskThreads(const NextLine& next) {
    std::vector<LatencyCells> rows;
    for (std::string_view line; next(line);) {
        AddRow(line, rows);
    }
    SortByMoment(rows);
    return rows;
}

LatencyThread ReadLatencyThread(std::string_view line) {
    PieceCursor cells(line, '|');
    std::string_view cell;
    (void)cells.Next(cell);
    cell = TrimSpacesView(cell);
    const std::size_t colon = cell.rfind(':');
    if (colon == std::string_view::npos) {
        return {std::string(cell), std::string(cell), {}};
    }
    return {std::string(cell), std::string(cell.substr(0, colon)),
            std::string(cell.substr(colon + 1))};
}

}  // namespace zarn
