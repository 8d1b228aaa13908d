#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn::report {

// What the program does, with the words behind its name and the page as it was built. The exit
// status: 0 if it is done, 1 if there is nothing to show or the page cannot be written, 2 for a
// wrong call. A line on the error stream says what failed; where that stream is a terminal, lines
// tell how far it is.
[[nodiscard]] int RunProgram(const std::vector<std::string>& words, std::string_view page);

}  // namespace zarn::report
