#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "analyzers/correlation/column_join.h"

namespace zarn {

// Rows of a table that an analyzer left: a head that names the columns, then lines that begin with
// a stamp behind a "'". Lines without one, such as a second head, are passed over; a line has as
// many cells as the head, whatever it holds. A "\r" at the end of a line does not count.
class TableRows final : public SourceRows {
public:
    // `next`: the lines of the table. Takes the head.
    explicit TableRows(NextLine next);

    // How many columns there are behind the time, and their names, each behind `prefix` and
    // followed by ",".
    [[nodiscard]] std::size_t Columns() const { return columns_; }
    [[nodiscard]] std::string Heads(std::string_view prefix) const;

    [[nodiscard]] bool Next() override;
    [[nodiscard]] const TimeDigits& Time() const override { return time_; }
    void AppendCells(std::string& line) const override;

private:
    NextLine next_;
    std::string head_;  // without the time
    std::size_t columns_ = 0;
    TimeDigits time_;
    std::string_view cells_;  // of the line taken last
};

}  // namespace zarn
