#pragma once

#include <cstddef>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

// The door to regular expressions (ECMAScript grammar, the standard library's).
//
// What it promises for input of any size: texts of up to kMaxRegexText bytes get the verdict and
// the groups of the standard library; longer ones are refused at once, as "no match", whatever they
// hold. The matcher of the standard library recurses once and more per byte. Measured with g++ 12,
// per byte of a match: ".*" 0.3 kB of stack, "((a)|(b))*" 1.0 kB, nine optional groups within each
// other and a star 4.3 kB; with the address sanitizer 1.1, 3.2 and 13.7 kB. So texts of more than
// kMaxRegexTextInPlace bytes are matched on a thread of its own with kRegexStack bytes of stack,
// which holds the worst of these at the greatest length; the default stack of 8 MiB would not.
//
// What it does not promise: time. The matcher backtracks, so a pattern with a star within a star
// ("(x+x+)+y") can take time exponential in the text, and any pattern with an open start takes the
// square of it: a hostile line of a few hundred bytes can keep it busy for minutes. A pattern that
// meets hostile text needs an exact matcher, or a cheap test, in front of it, and one that comes
// from the user is compiled by CompileWithoutBacktracking. Nor is the stack
// bounded for patterns that nest more than nine groups below a star.
namespace zarn {

using ViewMatch = std::match_results<std::string_view::const_iterator>;

// The longest text that is handed to the standard library's matcher, and the longest pattern that
// is handed to its compiler, in bytes.
inline constexpr std::size_t kMaxRegexText = 4096;
// The longest that is handled on the caller's stack: at most 3.5 MB of it (see above), 1.1 MB
// without a sanitizer.
inline constexpr std::size_t kMaxRegexTextInPlace = 256;
// 4096 * 13.7 kB, and a margin. Pages that are not touched cost nothing.
inline constexpr std::size_t kRegexStack = std::size_t{64} << 20;

// Searches `pattern` anywhere in `text`; `match` views into `text`. No match also if the library
// gives up or the thread cannot be had. Never throws.
[[nodiscard]] bool SearchGuarded(std::string_view text, const std::regex& pattern,
                                 ViewMatch& match);

// The same without groups.
[[nodiscard]] bool SearchGuarded(std::string_view text, const std::regex& pattern);

// Whether the whole of `text` matches.
[[nodiscard]] bool MatchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match);

// Appends the pieces of `text` between the matches of `pattern`, empty ones too, as views into it.
// A refused text is one piece.
void SplitGuarded(std::string_view text, const std::regex& pattern,
                  std::vector<std::string_view>& pieces);

// Compiles a pattern that is not a constant of the program. Nothing if it is no regular expression
// or longer than kMaxRegexText; `error` then says why. Never throws.
[[nodiscard]] std::optional<std::regex> CompileGuarded(
    const std::string& pattern, std::string& error,
    std::regex::flag_type flags = std::regex::ECMAScript);

// The same for a pattern that somebody else wrote: it is matched state by state, in time that grows
// with the text times the pattern, whatever stars it holds. A back-reference is refused, since it
// cannot be matched so.
[[nodiscard]] std::optional<std::regex> CompileWithoutBacktracking(const std::string& pattern,
                                                                   std::string& error);

// Appends the non-empty pieces between matches; a text beyond the regular expressions' limit stays
// whole.
void SplitByRegex(const std::string& text, const std::regex& pattern,
                  std::vector<std::string>& tokens);

}  // namespace zarn
