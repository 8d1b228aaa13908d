#pragma once

#include <cstdint>

#include "board/state/board_state.h"

// The QoS group of the device: main command 13. All functions answer a DeviceCode, change the state
// or the buffer only on success, and run under the board's lock.
//
//   sub command (low byte)    size  record
//   0 partition bounds          48  0 mpamid, 4 bw_high, 8 bw_low, 12 hardlimit, the rest zero
//   1 master configuration      80  0 master, 4 mpamid, 8 priority, 12 zero; a set carries the pair
//                                   0xFFFFFFFF, 0 at 16, 24, 32 and 40; the rest zero
//   2 bandwidth monitor        104  all zero to stop; byte 0: 1, byte 1: 2, byte 2: number of ids,
//   byte 3:
//                                   0, 4 sampling value, from 8 the ids, the rest zero to start
//   3 global switch             48  0: 1, the rest zero
//
// A read names the partition or the master twice: in the sub command's upper 24 bits and in the
// record's first word; the rest of the record that it hands in is zero.
namespace zarn::board {

inline constexpr std::uint32_t kQosGroup = 13;

inline constexpr std::uint32_t kPartitionRecord = 0;
inline constexpr std::uint32_t kMasterRecord = 1;
inline constexpr std::uint32_t kMonitorRecord = 2;
inline constexpr std::uint32_t kGlobalRecord = 3;

// Writes the record of `size` bytes to the device.
[[nodiscard]] int SetQos(BoardState& state, std::uint32_t subCommand, const void* record,
                         std::uint32_t size);

// Answers into the record; `size` is only compared.
[[nodiscard]] int GetQos(const BoardState& state, std::uint32_t subCommand, void* record,
                         std::uint32_t size);

}  // namespace zarn::board
