#pragma once

#include <cstddef>
#include <cstdint>

#include "board/state/board_state.h"

namespace zarn::board {

// The number of a task of the scheduler's plan, and that of its process: those of the real ones
// behind them, or, where the board has none, numbers from 1000 on.
[[nodiscard]] std::uint32_t SchedTid(const BoardState& state, std::size_t task);
[[nodiscard]] std::uint32_t SchedPid(const BoardState& state, std::size_t task);

// A moment of the board as perf and /proc/uptime count it, microseconds since the machine's start.
[[nodiscard]] std::uint64_t UptimeUs(const BoardState& state, std::uint64_t boardUs);

}  // namespace zarn::board
