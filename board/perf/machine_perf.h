#pragma once

#include <string>
#include <vector>

namespace zarn::board {

// The first perf in PATH that is not this program; "" if there is none.
[[nodiscard]] std::string FindMachinePerf();

// Becomes the machine's perf with these words. If that fails, says so in a line and gives the
// status that a shell gives.
[[nodiscard]] int BecomeMachinePerf(const std::vector<std::string>& words);

}  // namespace zarn::board
