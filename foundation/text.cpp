#include "foundation/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>

#include "foundation/console.h"
#include "foundation/regex_guard.h"

namespace zarn {
namespace {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

bool IsDigitString(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return IsDigit(c) || c == '\n' || c == '\r';
    });
}

bool IsDecimalString(std::string_view text) {
    return !text.empty() && std::count(text.begin(), text.end(), '.') <= 1 &&
           std::all_of(text.begin(), text.end(), [](char c) { return IsDigit(c) || c == '.'; });
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [&lower](char x, char y) { return lower(x) == lower(y); });
}

void SplitViews(std::string_view text, std::string_view delimiter,
                std::vector<std::string_view>& tokens) {
    while (!text.empty()) {
        const std::size_t end = delimiter.empty() ? std::string_view::npos : text.find(delimiter);
        const std::string_view token = text.substr(0, end);
        if (!token.empty()) {
            tokens.push_back(token);
        }
        if (end == std::string_view::npos) {
            return;
        }
        text.remove_prefix(end + delimiter.size());
    }
}

void SplitString(std::string_view text, std::string_view delimiter,
                 std::vector<std::string>& tokens) {
    std::vector<std::string_view> views;
    SplitViews(text, delimiter, views);
    tokens.insert(tokens.end(), views.begin(), views.end());
}

bool PieceCursor::Next(std::string_view& piece) {
    const std::size_t begin = rest_.find_first_not_of(delimiter_);
    if (begin == std::string_view::npos) {
        rest_ = {};
        return false;
    }
    rest_.remove_prefix(begin);
    piece = rest_.substr(0, rest_.find(delimiter_));
    rest_.remove_prefix(std::min(piece.size() + 1, rest_.size()));
    return true;
}

std::string_view TrimSpacesView(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void TrimSpaces(std::string& text) {
    text = std::string(TrimSpacesView(text));
}

void CollapseSpaces(std::string& text) {
    TrimSpaces(text);
    const auto bothBlank = [](char a, char b) { return a == ' ' && b == ' '; };
    text.erase(std::unique(text.begin(), text.end(), bothBlank), text.end());
}

std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to) {
    // One pass gives what starting over from the front each time gives: the first occurrence is the
    // one that ends first, and only what is put in its place can complete another with what lies
    // before. `pending` is what is still to be looked at, its next byte at the end.
    std::string pending(text.rbegin(), text.rend());
    std::string result;
    result.reserve(text.size());
    while (!pending.empty()) {
        result.push_back(pending.back());
        pending.pop_back();
        if (result.back() == from.back() && result.size() >= from.size() &&
            result.compare(result.size() - from.size(), from.size(), from) == 0) {
            result.resize(result.size() - from.size());
            pending.append(to.rbegin(), to.rend());
        }
    }
    return result;
}

std::size_t FindNthOccurrence(const std::string& text, const std::string& pattern, std::size_t n) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < n; ++i) {
        at = text.find(pattern, i == 0 ? 0 : at + 1);
        if (at == std::string::npos) {
            return at;
        }
    }
    return at;
}

}  // namespace zarn
