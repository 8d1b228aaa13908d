#include "collectors/system/mem/share_pool_parser.h"

#include "collectors/system/mem/word_cursor.h"
#include "foundation/files.h"

namespace zarn {
namespace {

constexpr std::string_view kGuard = "guard";

SharePoolResult ParseRow(std::string_view line, SharePoolRow& row) {
    if (line.find_first_of(WordCursor::kWhiteSpace) == 0 || line.empty()) {
        return SharePoolResult::EmptyValue;
    }
    WordCursor cursor(line);
    for (std::string_view value; row.values.size() < kSharePoolValues && cursor.Next(value);) {
        row.values.emplace_back(value);
    }
    return row.values.size() == kSharePoolValues ? SharePoolResult::Ok
                                                 : SharePoolResult::MissingValue;
}

}  // namespace

SharePoolResult ParseSharePoolTable(std::string_view text, std::vector<SharePoolRow>& rows) {
    rows.clear();
    LineCursor lines(text);
    std::string_view line;
    (void)lines.Next(line);
    while (lines.Next(line)) {
        SharePoolRow row;
        if (line.find(kGuard) != std::string_view::npos) {
            row.guard = line;
        } else if (const SharePoolResult result = ParseRow(line, row);
                   result != SharePoolResult::Ok) {
            return result;
        }
        rows.push_back(std::move(row));
    }
    return SharePoolResult::Ok;
}

}  // namespace zarn
