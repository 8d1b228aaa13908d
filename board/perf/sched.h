#pragma once

#include <string>
#include <vector>

namespace zarn::board {

// `perf sched` with these words behind it: by the model if the board has tasks for it and the file
// to be read is one of its records, else by the machine's perf; the exit status.
[[nodiscard]] int RunSched(const std::vector<std::string>& words);

}  // namespace zarn::board
