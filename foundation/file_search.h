#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Finding files by their names, and texts in them.
namespace zarn {

// The regular files of `directory` (final slash), not recursive, in directory order, as directory +
// name.
[[nodiscard]] std::vector<std::string> ListFiles(const std::string& directory);

// Those whose whole name is prefix, digits, ".", suffix; prefix and suffix are parts of a regular
// expression and case does not count. A pattern that is none prints "[zarn_utils] Error occurs: "
// and why, and finds nothing.
[[nodiscard]] std::vector<std::string> FindIndexedFiles(const std::string& directory,
                                                        const std::string& prefix,
                                                        const std::string& suffix);

// True if `pattern` is found anywhere in the name of a regular file of `directory`. False after a
// line if not, or if it is no regular expression.
[[nodiscard]] bool FileExistsByRegex(const std::string& directory, const std::string& pattern,
                                     const std::string& tag);

// The texts of the whole matches of `pattern`, one per line that has one, passing over lines that
// begin with one of `skipFirstChars`, up to `maxCount` of them (-1: no limit). The file must be
// writable too. Lines beyond the regular expressions' limit count as having none; false after a
// line if the file cannot be opened or the pattern is no regular expression.
[[nodiscard]] bool GetRegexMatchesFromFile(const std::string& path, const std::string& pattern,
                                           std::vector<std::string>& matches,
                                           const std::vector<char>& skipFirstChars, int maxCount);

// The same for expressions that must decide lines of any length, and for files that need not lie in
// memory as a whole: calls `accept` with each line that is not passed over, until it has said of
// `maxCount` of them that they match. The line is a view that holds during the call.
[[nodiscard]] bool TakeMatchingLinesOfFile(const std::string& path,
                                           const std::vector<char>& skipFirstChars,
                                           std::size_t maxCount,
                                           const std::function<bool(std::string_view)>& accept);

// Fits a thread's name for a file name: "/" to "_", "(" to "[", ")" to "]", if it has a "/" or "(".
[[nodiscard]] std::string SanitizeProcessName(const std::string& name);

}  // namespace zarn
