#pragma once

#include "board/program/program_order.h"

namespace zarn::board {

// Starts the threads that do the work of the order's plan, one for each core of it; how many there
// are.
std::uint32_t StartWork(const ProgramOrder& order);

}  // namespace zarn::board
