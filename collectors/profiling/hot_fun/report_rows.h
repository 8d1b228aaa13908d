#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "foundation/byte_buffer.h"

// The rows of what `perf report` prints of a recording with call chains: share with children, own
// share, command, shared object, mark of the symbol's kind, symbol.
namespace zarn {

// The text of the first match of (?=\.\d|\d)(?:\d+)?(?:\.?\d*)%\s+.*\s+.*\s+.* in a line of any
// length and any bytes, as the standard library finds it: from a percentage that white space
// follows, and two words at least, up to the end of the line or to a carriage return within it.
[[nodiscard]] std::optional<std::string_view> FindReportRow(std::string_view line);

struct ReportRow {
    std::string_view percentage;  // with children
    std::string_view command;
    std::string_view sharedObject;
    std::string_view symbol;
};

// Rows made of the words of matches, in fives whatever match they stand in: a symbol with a blank
// in it shifts all that follow. Needs no more memory than the matches.
class ReportRows {
public:
    // Makes at most so many.
    explicit ReportRows(std::uint32_t most) : most_(most) {}

    // Takes the words of a match. "[k]" and "[.]" are none.
    void Add(std::string_view match);

    // Calls `take` with each whole row; the views hold as long as nothing is added.
    void ForEach(const std::function<void(const ReportRow&)>& take) const;

private:
    std::uint32_t most_;
    std::uint32_t count_ = 0;     // of whole rows
    std::uint32_t position_ = 0;  // words of the row that is begun
    ByteBuffer words_;            // those that rows show, a blank behind each
    std::size_t size_ = 0;        // of these
};

}  // namespace zarn
