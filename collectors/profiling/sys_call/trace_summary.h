#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The rows of the summary that strace writes behind a trace.
namespace zarn {

// The words of a row between blanks, the first being the name of the system call. A row without its
// last column, which strace leaves blank for a call that never failed, gets "0" at its end. Takes
// any text: one of any other number of words keeps them, one of blanks alone has none.
using SummaryRow = std::vector<std::string>;
[[nodiscard]] SummaryRow ParseSummaryRow(std::string_view line);

// Rows of lines as commands give them, in pieces.
class TraceSummary {
public:
    // Takes the next piece. What goes on a line longer than a piece is passed over, as is what has
    // no word: strace writes no such rows, and each is a search of the whole log.
    void Add(std::string_view piece);

    [[nodiscard]] std::vector<SummaryRow> Take() { return std::move(rows_); }

private:
    std::vector<SummaryRow> rows_;
    bool goesOn_ = false;
};

}  // namespace zarn
