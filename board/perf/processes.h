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

// The children of a process.
[[nodiscard]] std::vector<std::uint32_t> ChildrenOf(std::int32_t pid);

// The place of the scenario's program of that name.
[[nodiscard]] std::optional<std::size_t> ProgramNamed(const BoardState& state,
                                                      const std::string& name);

// The programs that these processes are, a bit for each; nothing if one is no process. A process
// that is none of the scenario's programs has none.
[[nodiscard]] std::optional<std::uint32_t> ProgramsOf(const BoardState& state,
                                                      const std::vector<std::uint32_t>& pids);

}  // namespace zarn::board
