#pragma once

#include <string_view>

namespace zarn {

// The words of a text between white space of any kind, line ends included.
class WordCursor {
public:
    // `text` must outlive the cursor and the words taken from it.
    explicit WordCursor(std::string_view text) : rest_(text) {}

    // Takes the next word; false at the end.
    bool Next(std::string_view& word) {
        const std::size_t begin = rest_.find_first_not_of(kWhiteSpace);
        if (begin == std::string_view::npos) {
            rest_ = {};
            return false;
        }
        rest_.remove_prefix(begin);
        word = rest_.substr(0, rest_.find_first_of(kWhiteSpace));
        rest_.remove_prefix(word.size());
        return true;
    }

    static constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

private:
    std::string_view rest_;
};

}  // namespace zarn
