#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/byte_buffer.h"

// What `perf diff` prints: comments, headings among them, and rows whose numbers end where their
// headings do.
namespace zarn {

// The places, counted from 0, at which columns of numbers end. Headings of words alone have none.
class DiffColumns {
public:
    // Takes the ends of the columns from a comment; nothing from one that is no line of headings.
    // Whether there was one that was not known.
    bool Read(std::string_view comment);

    // In ascending order.
    [[nodiscard]] const std::vector<std::size_t>& Ends() const { return ends_; }

private:
    std::vector<std::size_t> ends_;
};

// The cells of rows as a table, in lines of as many cells whatever row they stand in: a row that
// came out shorter or longer shifts all that follow.
class DiffTable {
public:
    // Takes a piece of the table's text.
    using Sink = std::function<void(std::string_view)>;

    // A column for each version, then shared object and symbol.
    DiffTable(const std::vector<std::string>& versions, Sink sink);

    // Takes the words of a row, a blank for each column that it leaves empty. "[k]" and "[.]" are
    // none. Words keep their bytes, quotes too.
    void Add(std::string_view row, const DiffColumns& columns);

    // Hands on what is left of the text, which goes there in large pieces.
    void Flush();

private:
    void Cell(std::string_view text);
    // A cell in two steps: what stands in it, and its end.
    std::size_t CopyWord(std::string_view row, std::size_t begin);
    void EndCell(std::size_t size);

    Sink sink_;
    std::size_t width_;
    std::size_t column_ = 0;  // of the next cell
    ByteBuffer text_;
    std::size_t size_ = 0;  // of the text that has not been handed on
};

}  // namespace zarn
