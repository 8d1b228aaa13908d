#pragma once

namespace zarn::board {

// The variable of the board's environment that says who samples functions: "machine", "model", or
// whoever can.
inline constexpr const char* kPerfVariable = "VIRTUAL_BOARD_PERF";

}  // namespace zarn::board
