#pragma once

#include <string>
#include <vector>

namespace zarn::board {

// `perf record` with these words behind it: by the machine where its kernel can, else by the model;
// the exit status.
[[nodiscard]] int RunRecord(const std::vector<std::string>& words);

}  // namespace zarn::board
