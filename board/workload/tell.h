#pragma once

#include <string>

namespace zarn::board {

// Writes to an open file in one piece, so that a trace shows one call: a mode's account, or why
// there is none.
void Tell(int fd, const std::string& text);

}  // namespace zarn::board
