#pragma once

#include <cstddef>
#include <regex>
#include <string_view>

// The door to regular expressions (ECMAScript grammar, the standard library's).
namespace zarn {

using ViewMatch = std::match_results<std::string_view::const_iterator>;

// The longest text that is handed to the standard library's matcher, in bytes. That matcher
// recurses with the length of a match and needs up to about 1 kB of stack per byte in an
// instrumented build, so that a longer text could overflow a thread's stack of 8 MiB.
inline constexpr std::size_t kMaxRegexText = 4096;

// Searches `pattern` anywhere in `text`. The verdict and the groups are those of std::regex_search
// for a text of at most kMaxRegexText bytes; a longer one is refused: no match, at no cost, without
// recursion. Missions whose patterns must decide longer lines have an exact matcher beside the
// pattern. `match` views into `text`. Never throws for a text; std::regex_error only where the
// library gives up on complexity, which counts as no match.
[[nodiscard]] bool SearchGuarded(std::string_view text, const std::regex& pattern,
                                 ViewMatch& match);

// The same without groups.
[[nodiscard]] bool SearchGuarded(std::string_view text, const std::regex& pattern);

// Whether the whole of `text` matches; long texts are refused alike.
[[nodiscard]] bool MatchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match);

}  // namespace zarn
