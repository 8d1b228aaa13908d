#pragma once

#include <string>
#include <string_view>

// Words of shell lines that are made of names: of configured processes, of what the system's tools
// print. An ordinary name stands as it is, any other in single quotes, so that none becomes a
// command.
namespace zarn {

// As it is if it consists of letters, digits and "_./:+@%=-", in single quotes otherwise.
[[nodiscard]] std::string ShellWord(std::string_view text);

// The same for the path of a file, where "[" and "]" are ordinary too.
[[nodiscard]] std::string ShellPath(std::string_view path);

// In single quotes, whatever it is.
[[nodiscard]] std::string QuotedWord(std::string_view text);

// How the word, quoted or not, stands as a pattern: behind "-e " if `text` begins with a "-".
[[nodiscard]] std::string PatternWord(std::string_view text, const std::string& word);

}  // namespace zarn
