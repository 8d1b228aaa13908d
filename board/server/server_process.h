#pragma once

#include <string>
#include <vector>

#include "board/state/board_state.h"

// What the commands of zarn-board-server have in common.
namespace zarn::board {

using Arguments = std::vector<std::string>;

inline constexpr int kWrongCall = 2;

// Says a failure on the error stream; the status that the program then ends with.
int Fail(const std::string& text);

// The state in a file. nullptr after a line if that is none.
[[nodiscard]] BoardState* OpenState(const std::string& path);

// What interrupts the board's command does not end this process; a request to end is noted.
void SetSignals();
[[nodiscard]] bool IsToldToEnd();

}  // namespace zarn::board
