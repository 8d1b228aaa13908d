#pragma once

#include <cstdint>

#include "board/state/board_state.h"

// The buffer pool behind the buffer library: it records which buffers are held too long. Codes are
// DeviceCodes; callers hold the board's lock.
namespace zarn::board {

inline constexpr std::uint32_t kBufferSettingSize = 16;
inline constexpr std::uint32_t kBufferRecordSize = 224;
inline constexpr std::uint32_t kMaxBufferRecords = 8192;

// Takes a setting of four words: on (1) or off (0), the most records that will be asked for (1 to
// 8192), the time in microseconds from which on a buffer is held too long, and how often the pool
// is looked through, in microseconds. Switching on forgets what was recorded before.
[[nodiscard]] int ConfigureBuffers(BoardState& state, std::uint32_t command, const void* setting,
                                   std::uint32_t size, std::uint64_t timeMs);

// Writes the records into `out`, which holds `size` bytes, and sets `size` to the bytes written.
// The holder of the buffers is the board's server, or `callerPid` where none runs.
[[nodiscard]] int ReadBuffers(const BoardState& state, std::uint32_t type, void* out,
                              std::uint32_t& size, std::uint64_t timeMs, std::uint32_t callerPid);

}  // namespace zarn::board
