#include "analyzers/correlation/table_rows.h"

#include <algorithm>
#include <utility>

namespace zarn {
namespace {

std::string_view WithoutReturn(std::string_view line) {
    return line.substr(0, line.size() - (!line.empty() && line.back() == '\r' ? 1 : 0));
}

// Takes the cell at the front of `cells`, and the "," behind it if there is one.
std::string_view TakeCell(std::string_view& cells) {
    const std::string_view cell = cells.substr(0, cells.find(','));
    cells.remove_prefix(std::min(cell.size() + 1, cells.size()));
    return cell;
}

}  // namespace

TableRows::TableRows(NextLine next) : next_(std::move(next)) {
    std::string_view head;
    if (!next_(head)) {
        return;
    }
    head = WithoutReturn(head);
    (void)TakeCell(head);
    head_ = head;
    for (; !head.empty(); ++columns_) {
        (void)TakeCell(head);
    }
}

std::string TableRows::Heads(std::string_view prefix) const {
    std::string heads;
    for (std::string_view rest = head_; !rest.empty();) {
        heads.append(prefix).append(TakeCell(rest)).push_back(',');
    }
    return heads;
}

bool TableRows::Next() {
    for (std::string_view line; next_(line);) {
        line = WithoutReturn(line);
        if (ReadQuotedStamp(TakeCell(line), time_)) {
            cells_ = line;
            return true;
        }
    }
    return false;
}

void TableRows::AppendCells(std::string& line) const {
    std::string_view rest = cells_;
    for (std::size_t i = 0; i < columns_; ++i) {
        line.append(TakeCell(rest)).push_back(',');
    }
}

}  // namespace zarn
