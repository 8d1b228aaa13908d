#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "analyzers/correlation/column_join.h"
#include "analyzers/correlation/sched_rows.h"
#include "analyzers/correlation/table_rows.h"
#include "analyzers/correlation/time_set.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

namespace zarn::fuzz {
namespace {

constexpr const char* kBoot = "20230101120000";
constexpr std::uint32_t kInterval = 1000;

// Reads a text's lines.
class Text {
public:
    explicit Text(std::string_view text) : cursor_(text) {}
    [[nodiscard]] NextLine Lines() { return LinesOf(cursor_); }

private:
    LineCursor cursor_;
};

struct PlainRow {
    std::string time;
    std::string cells;
};

std::vector<PlainRow> Rows(SourceRows& rows, std::size_t columns) {
    std::vector<PlainRow> plain;
    while (rows.Next()) {
        PlainRow row = {std::string(rows.Time().Text()), ""};
        rows.AppendCells(row.cells);
        const auto commas = std::count(row.cells.begin(), row.cells.end(), ',');
        Require(static_cast<std::size_t>(commas) == columns, "a row has a cell for each column");
        plain.push_back(std::move(row));
    }
    return plain;
}

// The plain form: the first row of a moment that no row before has gone beyond.
std::string CellsAt(const std::vector<PlainRow>& rows, const std::string& time,
                    const std::string& empty) {
    std::string latest;
    for (const PlainRow& row : rows) {
        if (row.time == time && latest < time) {
            return row.cells;
        }
        latest = std::max(latest, row.time);
    }
    return empty;
}

// One of a text's two sources.
struct Source {
    std::string heads;
    std::size_t columns;
    std::vector<PlainRow> rows;
    std::vector<PeakColumn> peaks;
};

std::string Joined(const std::string& table, const Source& source,
                   std::unique_ptr<SourceRows> rows) {
    std::vector<ColumnGroup> groups;
    groups.push_back({source.heads, source.columns, nullptr, std::move(rows), &source.peaks});
    std::string text;
    Text lines(table);
    JoinColumns(lines.Lines(), groups, [&text](std::string_view piece) { text += piece; });
    return text;
}

bool IsNear(const std::string& time, const PeakSpans& spans) {
    return std::any_of(spans.begin(), spans.end(), [&time](const PeakSpan& span) {
        return span.lower.Text() <= time && time <= span.upper.Text();
    });
}

std::string JoinedPlainly(const std::string& table, const Source& source) {
    std::string text;
    LineCursor lines(table);
    std::string_view line;
    (void)lines.Next(line);
    text.append(line).append(source.heads).append("peak,\n");
    while (lines.Next(line)) {
        const std::string time(line.substr(1, kTimeDigits));
        text.append(line).append(CellsAt(source.rows, time, std::string(source.columns, ',')));
        text += IsNear(time, source.peaks.front().spans) ? "1,\n" : "0,\n";
    }
    return text;
}

// Every other row is a peak.
std::vector<PeakColumn> PeaksOf(const std::vector<PlainRow>& rows) {
    std::vector<TimeDigits> peaks;
    for (std::size_t i = 0; i < rows.size(); i += 2) {
        peaks.push_back(TimeDigits::At(rows[i].time.data()));
    }
    return {{"peak", SpansAround(peaks, kInterval)}};
}

std::string TableOf(const Source& first, const Source& second) {
    TimeSet times;
    std::set<std::string> plain;
    for (const Source* source : {&first, &second}) {
        for (const PlainRow& row : source->rows) {
            times.Add(TimeDigits::At(row.time.data()));
            plain.insert(row.time);
        }
    }
    times.Sort();
    std::string table = "happen_time,\n";
    for (const TimeDigits& time : times) {
        Require(!plain.empty() && *plain.begin() == time.Text(), "moments are those of a set");
        plain.erase(plain.begin());
        table.append("'").append(time.Text()).append(",\n");
    }
    Require(plain.empty(), "no moment is missing");
    return table;
}

void CheckJoin(std::string_view tableText, std::string_view historyText) {
    Text tableLines(tableText);
    TableRows tableRows(tableLines.Lines());
    Source table = {tableRows.Heads("t_"), tableRows.Columns(), {}, {}};
    table.rows = Rows(tableRows, table.columns);
    table.peaks = PeaksOf(table.rows);
    Text historyLines(historyText);
    SchedRows historyRows(historyLines.Lines(), kBoot);
    Source history = {"a,b,c,d,e,", kSchedColumnCount, {}, {}};
    history.rows = Rows(historyRows, history.columns);
    history.peaks = PeaksOf(history.rows);

    const std::string moments = TableOf(table, history);
    Text again(tableText);
    const std::string once = Joined(moments, table, std::make_unique<TableRows>(again.Lines()));
    Require(once == JoinedPlainly(moments, table), "a table joins as in the plain form");
    Text historyAgain(historyText);
    Require(Joined(once, history, std::make_unique<SchedRows>(historyAgain.Lines(), kBoot)) ==
                JoinedPlainly(once, history),
            "so does a history");
}

}  // namespace
}  // namespace zarn::fuzz

// A table and, behind the first byte 1, a history, joined and held against the plain join. Both are
// cut short where the plain one would take too long.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMost = 20000;
    const std::string_view text = zarn::fuzz::AsText(data, size).substr(0, kMost);
    const std::size_t end = text.find('\1');
    zarn::fuzz::CheckJoin(text.substr(0, end),
                          end == std::string_view::npos ? "" : text.substr(end + 1));
    return 0;
}
