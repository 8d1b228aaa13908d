#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/model/programs.h"

namespace zarn::board {

// Memory of another program that this one maps too: an open file of it.
struct SharedMapping {
    int fd = -1;
    std::uint32_t kb = 0;
};

// What the server tells a program on its standard input, as bytes. The program writes a line on its
// standard output when it has the memory of its plan, and follows the plan until the server ends.
struct ProgramOrder {
    pid_t server = 0;
    std::uint64_t startNs = 0;  // of the board, monotonic clock
    ProgramPlan plan;
    std::uint32_t mappingCount = 0;
    std::array<SharedMapping, kMaxSharedAreas> mappings{};
    int stateFd =
        -1;  // the board's state, an open file, in which a program that works has its account
    std::size_t stateSize = 0;
    std::size_t accountOffset = 0;
};

}  // namespace zarn::board
