#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board/state/board_state.h"

// The board's programs as processes of the machine.
namespace zarn::board {

// The name of a process, nothing if there is none of that number.
[[nodiscard]] std::optional<std::string> ProcessName(std::uint32_t pid);

// The scenario's programs that these processes are, a bit for each; nothing if one is no process. A
// process that is none of them has none.
[[nodiscard]] std::optional<std::uint32_t> ProgramsOf(const BoardState& state,
                                                      const std::vector<std::uint32_t>& pids);

}  // namespace zarn::board
