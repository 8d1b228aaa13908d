#include "foundation/regex_guard.h"

namespace zarn {

bool SearchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match) {
    if (text.size() > kMaxRegexText) {
        return false;
    }
    try {
        return std::regex_search(text.begin(), text.end(), match, pattern);
    } catch (const std::regex_error&) {
        return false;
    }
}

bool SearchGuarded(std::string_view text, const std::regex& pattern) {
    ViewMatch match;
    return SearchGuarded(text, pattern, match);
}

bool MatchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match) {
    if (text.size() > kMaxRegexText) {
        return false;
    }
    try {
        return std::regex_match(text.begin(), text.end(), match, pattern);
    } catch (const std::regex_error&) {
        return false;
    }
}

}  // namespace zarn
