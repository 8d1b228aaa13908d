#pragma once

#include <string>

#include "board/server/board_folder.h"

namespace zarn::board {

// Makes the board's folder if it is not there, and keeps its moving files as long as somebody holds
// the other end of standard input and no signal ends it. `once`: the board is removed when nobody
// needs it any more. The program's status, 1 after a line.
[[nodiscard]] int ServeBoard(const std::string& folder, const BoardSource& source, bool once);

}  // namespace zarn::board
