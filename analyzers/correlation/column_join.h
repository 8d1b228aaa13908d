#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/correlation/peak_spans.h"
#include "analyzers/correlation/time_digits.h"
#include "foundation/files.h"
#include "kit/event_reader.h"

// The one join that puts the columns of every source beside those of the table.
namespace zarn {

// Rows of a source, in the order of its file.
class SourceRows {
public:
    SourceRows() = default;
    SourceRows(const SourceRows&) = delete;
    SourceRows& operator=(const SourceRows&) = delete;
    virtual ~SourceRows() = default;

    // Takes the next row; false at the end.
    [[nodiscard]] virtual bool Next() = 0;
    // Of the row taken last.
    [[nodiscard]] virtual const TimeDigits& Time() const = 0;
    // Appends its cells, each followed by ",": as many as there are columns.
    virtual void AppendCells(std::string& line) const = 0;
};

// A column of 1 near a peak and 0 elsewhere.
struct PeakColumn {
    std::string head;
    PeakSpans spans;
};

// Columns that one sequence of rows fills, and those of its peaks behind them.
struct ColumnGroup {
    std::string heads;  // each followed by ","
    std::size_t columns = 0;
    std::unique_ptr<LineFile> file;  // that the rows are read from, if there is one
    std::unique_ptr<SourceRows> rows;
    const std::vector<PeakColumn>* peaks = nullptr;
};

// Copies the lines of a table, its head first, with the cells of the groups behind those that are
// there. A line takes the cells of the row of its very moment, and empty ones if there is none. Of
// several rows of one moment the first counts; those, and rows whose moment lies behind, are passed
// over. A line without a moment is left out. All rows are taken, also those behind the last line.
// `give` gets the text in long pieces.
void JoinColumns(const NextLine& table, const std::vector<ColumnGroup>& groups,
                 const std::function<void(std::string_view)>& give);

}  // namespace zarn
