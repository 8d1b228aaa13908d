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
// is looked through, in microseconds, at least 1. Switching on forgets what was recorded before and
// looks at once.
[[nodiscard]] int ConfigureBuffers(BoardState& state, std::uint32_t command, const void* setting,
                                   std::uint32_t size, std::uint64_t timeUs);

// Writes the records into `out`, which holds `size` bytes, and sets `size` to the bytes written:
// the first ones found, as many as are wanted and have room. Where no server runs `callerPid` holds
// the buffers.
[[nodiscard]] int ReadBuffers(BoardState& state, std::uint32_t type, void* out, std::uint32_t& size,
                              std::uint64_t timeUs, std::uint32_t callerPid);

// The buffers that the recording, which is on, holds at a moment.
[[nodiscard]] OverdueWalk WalkRecording(const BoardState& state, std::uint64_t timeUs);

// A buffer's address.
[[nodiscard]] std::uint64_t BufferAddress(const BoardState& state, const OverdueBuffer& buffer);

// The process that is meant by the index of a program; `callerPid` if none runs.
[[nodiscard]] std::uint32_t PidOf(const BoardState& state, std::uint32_t program,
                                  std::uint32_t callerPid);

}  // namespace zarn::board
