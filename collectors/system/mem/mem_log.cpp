#include "collectors/system/mem/mem_log.h"

#include <algorithm>

namespace zarn {
namespace {

constexpr std::size_t kCellWidth = 12;
constexpr std::size_t kSeparatorWidth = 80;

}  // namespace

const std::vector<std::string> memSeparatorRow = {std::string(kSeparatorWidth, '-')};

void AppendLogCell(std::string_view cell, std::string& text) {
    text.append(cell);
    text.append(cell.size() < kCellWidth ? kCellWidth - cell.size() : 1, ' ');
}

void MemLogText::Append(std::string_view output) {
    if (output.empty()) {
        return;
    }
    if (!last_.empty()) {
        file_.Append(last_);
    }
    file_.Append(output.substr(0, output.size() - 1));
    last_ = output.back();
}

FileResult MemLogText::Keep() {
    std::string end = last_.empty() ? "" : "\n";
    AppendLogRow(memSeparatorRow, end);
    file_.Append(end);
    return file_.Keep();
}

}  // namespace zarn
