#pragma once

#include <string>
#include <vector>

// What the workload can do. A mode gets the words behind its name, tells on standard output what it
// has done, and gives the exit status; kBadCall after words that it cannot take.
namespace zarn::board {

inline constexpr int kBadCall = 2;

// COUNT rounds of system calls, some of which fail, begun when somebody traces the process, by whom
// each of them is seen; with a second word "untraced" at once. Prints a head line with the seconds
// that it took, and a line for each system call: its name, how often it was made, how often it
// failed.
[[nodiscard]] int RunCallBatch(const std::vector<std::string>& words);

}  // namespace zarn::board
