#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/state/board_state.h"

// Texts of the kernel files that the board's server writes. Pure functions.
namespace zarn::board {

// The bandwidth table at a moment: a head line and a line per monitored partition, in the monitor's
// order, of five columns with "|" between them: the partition, the measured bandwidth in whole
// MB/s, and the partition's bounds and hard limit. The head line alone while the monitor is off.
// The caller holds the lock.
[[nodiscard]] std::string BandwidthTable(const BoardState& state, std::uint64_t timeMs);

// Name of the server's process on the board's process lists.
inline constexpr const char* kServerName = "zarn-board-serv";

// The buffer groups of a process: a line with the number of groups, then a line per group.
[[nodiscard]] std::string BufferGroupsText(std::int32_t pid,
                                           const std::vector<std::string>& groups);
// Those of a program; none if it owns no buffers.
[[nodiscard]] std::vector<std::string> BufferGroupsOf(const BufferPools& pools,
                                                      std::uint32_t program);

// The buffers that the recording, as it is set now, holds at a moment, a line each behind the
// moment's; and how it is set. The caller holds the lock.
[[nodiscard]] std::string RecordedBuffersText(const BoardState& state, std::uint64_t timeUs);
[[nodiscard]] std::string BufferRecordingText(const BoardState& state);

// The QoS settings of the board, a line per master, and the monitor's state: what a user may want
// to see. The caller holds the lock.
[[nodiscard]] std::string StatusText(const BoardState& state);

}  // namespace zarn::board
