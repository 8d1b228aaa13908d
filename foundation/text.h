#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Byte strings.
namespace zarn {

// Not empty, and every byte is a digit, LF or CR.
[[nodiscard]] bool IsDigitString(std::string_view text);
// Not empty, digits and at most one ".".
[[nodiscard]] bool IsDecimalString(std::string_view text);
[[nodiscard]] bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// With no bytes to look for each text does.
[[nodiscard]] inline bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}
[[nodiscard]] inline bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Appends the non-empty pieces between occurrences of `delimiter`.
void SplitString(std::string_view text, std::string_view delimiter,
                 std::vector<std::string>& tokens);
// The same as views into `text`, for parsers that do not keep the pieces.
void SplitViews(std::string_view text, std::string_view delimiter,
                std::vector<std::string_view>& tokens);

// The same for one delimiter byte, piece by piece and without a list: for texts of which only the
// first pieces count.
class PieceCursor {
public:
    // `text` must outlive the cursor and the pieces taken from it.
    PieceCursor(std::string_view text, char delimiter) : rest_(text), delimiter_(delimiter) {}

    // Takes the next piece that is not empty; false at the end.
    bool Next(std::string_view& piece);

private:
    std::string_view rest_;
    char delimiter_;
};

// Removes blanks at both ends; only " " counts.
void TrimSpaces(std::string& text);
[[nodiscard]] std::string_view TrimSpacesView(std::string_view text);
// TrimSpaces, then every run of blanks becomes one.
void CollapseSpaces(std::string& text);
// Replaces the first occurrence, starting over from the front, until there is none, in linear time:
// `to` must not contain `from`, `from` not be empty, or it never ends.
[[nodiscard]] std::string ReplaceAll(const std::string& text, const std::string& from,
                                     const std::string& to);
// Index of the n-th occurrence, counted from 1; npos if there is none; 0 for n = 0.
[[nodiscard]] std::size_t FindNthOccurrence(const std::string& text, const std::string& pattern,
                                            std::size_t n);

}  // namespace zarn
