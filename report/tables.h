#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "report/family.h"

// Reading of CSV tables that are not to be trusted.
namespace zarn::report {

// The cells of a line one by one, as they stand between commas; that behind a comma at the end of
// the line does not count.
class CellCursor {
public:
    explicit CellCursor(std::string_view line) : rest_(line) {}

    bool Next(std::string_view& cell) {
        if (rest_.empty()) {
            return false;
        }
        const std::size_t comma = rest_.find(',');
        cell = rest_.substr(0, comma);
        rest_.remove_prefix(comma == std::string_view::npos ? rest_.size() : comma + 1);
        return true;
    }

private:
    std::string_view rest_;
};

// The cells of a line: each is followed by a comma, the last one of a line may do without it. In a
// cell that begins with a quote commas count to its text, up to the next quote that a comma or the
// end follows. The quotes are taken off. At most kMostColumns cells.
[[nodiscard]] std::vector<std::string_view> CellsOf(std::string_view line);
void CutIntoCells(std::string_view line, std::vector<std::string_view>& cells);

using OnCells = std::function<void(const std::vector<std::string_view>& cells, std::uint64_t line)>;

// Calls `onCells` with the cells of each line, as ReadLines does.
void ReadTable(Files& files, const RunFile& file, const OnCells& onCells);

// The moment in a cell, behind its apostrophe.
[[nodiscard]] std::optional<Moment> MomentOfCell(std::string_view cell);

}  // namespace zarn::report
