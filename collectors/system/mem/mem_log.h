#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/files.h"

// The collector's tables as text.
namespace zarn {

// Written after each table of a log to part it from the next.
extern const std::vector<std::string> memSeparatorRow;

// Appends the cells as one line: each padded to 12 characters, one that is as long or longer with
// one blank behind it.
template <typename Cells>
void AppendLogRow(const Cells& cells, std::string& text);

// A log whose table is made of what a program prints, as it comes. Without Keep the log stays as it
// was.
class MemLogText {
public:
    explicit MemLogText(const std::string& path) : file_(path) {}

    // Takes the next piece of the program's output. The last character of it all is cut off.
    void Append(std::string_view output);

    // Ends the table: the text, if there is any, as lines, then the separator.
    [[nodiscard]] FileResult Keep();

private:
    FileAppender file_;
    std::string last_;  // the character that might be the last
};

void AppendLogCell(std::string_view cell, std::string& text);

template <typename Cells>
void AppendLogRow(const Cells& cells, std::string& text) {
    for (const auto& cell : cells) {
        AppendLogCell(cell, text);
    }
    text += '\n';
}

}  // namespace zarn
