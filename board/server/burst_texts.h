#pragma once

#include <string>

#include "board/model/bursts.h"
#include "board/state/board_state.h"

namespace zarn::board {

// The bursts of bus masters and tasks that lie in a time, as a table, for those who check what they
// have measured.
[[nodiscard]] std::string BurstsText(const BoardState& state, const SchedSpan& span);

}  // namespace zarn::board
