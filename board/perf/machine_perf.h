#pragma once

#include <string>
#include <vector>

namespace zarn::board {

// The first perf in PATH that is not this program; "" if there is none.
[[nodiscard]] std::string FindMachinePerf();

// Says so on the error stream if this process is traced, as everything is on a board by proot: what
// the machine then measures of itself is of little use.
void WarnIfTraced();

// Becomes the machine's perf with these words, behind that warning if they measure. If that fails,
// says so in a line and gives the status that a shell gives.
[[nodiscard]] int BecomeMachinePerf(const std::vector<std::string>& words);

}  // namespace zarn::board
