#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>

#include "board/model/sched_plan.h"

namespace zarn::board {

// What the server tells a process of the scheduler's plan on its standard input, as bytes. The
// process sets its threads up, the main one first, and writes their tids, in that order and as
// bytes, on its standard output. Then it waits until the server ends.
struct SchedOrder {
    pid_t server = 0;
    std::uint32_t cores = 0;  // of the board
    std::uint32_t count = 0;
    std::array<SchedTask, kMaxSchedTasks> threads{};
};

}  // namespace zarn::board
