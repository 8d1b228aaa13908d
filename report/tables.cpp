#include "report/tables.h"

#include "report/lines.h"
#include "report/moments.h"

namespace zarn::report {
namespace {

// Where the quoted cell that begins `rest` ends: behind its last quote.
[[nodiscard]] std::size_t EndOfQuoted(std::string_view rest) {
    std::size_t quote = rest.find('"', 1);
    while (quote != std::string_view::npos && quote + 1 < rest.size() && rest[quote + 1] != ',') {
        quote = rest.find('"', quote + 1);
    }
    return quote == std::string_view::npos ? rest.size() : quote + 1;
}

[[nodiscard]] std::string_view WithoutQuotes(std::string_view cell) {
    return cell.size() >= 2 && cell.front() == '"' && cell.back() == '"'
               ? cell.substr(1, cell.size() - 2)
               : cell;
}

}  // namespace

std::vector<std::string_view> CellsOf(std::string_view line) {
    std::vector<std::string_view> cells;
    CutIntoCells(line, cells);
    return cells;
}

void CutIntoCells(std::string_view line, std::vector<std::string_view>& cells) {
    cells.clear();
    while (!line.empty() && cells.size() < kMostColumns) {
        const std::size_t from = line.front() == '"' ? EndOfQuoted(line) : 0;
        const std::size_t comma = line.find(',', from);
        cells.push_back(WithoutQuotes(line.substr(0, comma)));
        line.remove_prefix(comma == std::string_view::npos ? line.size() : comma + 1);
    }
}

void ReadTable(Files& files, const RunFile& file, const OnCells& onCells) {
    std::vector<std::string_view> cells;
    ReadLines(files, file, [&](std::string_view text, std::uint64_t line) {
        CutIntoCells(text, cells);
        onCells(cells, line);
    });
}

std::optional<Moment> MomentOfCell(std::string_view cell) {
    if (!cell.empty() && cell.front() == '\'') {
        cell.remove_prefix(1);
    }
    return MomentIn(cell);
}

}  // namespace zarn::report
