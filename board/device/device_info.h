#pragma once

#include <cstdint>

#include "board/state/board_state.h"

// What the device-management library reads and writes, apart from the libraries' thin entry points.
// Codes are DeviceCodes; callers hold the board's lock.
//
//   main command  sub  size        answer
//   0 image block  1    4          percent the video decoder is busy
//                  2    4          ... the vision pre-processing core
//                  3    4          ... the video encoder
//   9 memory       0    4          the DDR type
//   11 AI block    0    room for   a byte of percent per core (or 239: not a number, 238: no
//   value); the
//                       all cores  size becomes the number of cores
//   13 QoS              see qos_device.h; device 0 alone has it, as it alone has 9
namespace zarn::board {

inline constexpr std::uint32_t kImageBlock = 0;
inline constexpr std::uint32_t kMemoryGroup = 9;
inline constexpr std::uint32_t kAiBlock = 11;

// Whether the board has a device of that id.
[[nodiscard]] bool HasDevice(const BoardState& state, std::uint32_t device);

// Stores the ids of the first `count` devices.
[[nodiscard]] int ListDevices(const BoardState& state, int* devices, int count);

// One question to the device.
struct DeviceQuestion {
    std::uint32_t device = 0;
    std::uint32_t mainCommand = 0;
    std::uint32_t subCommand = 0;
};

[[nodiscard]] int GetInfo(const BoardState& state, const DeviceQuestion& question, void* buffer,
                          std::uint32_t& size, std::uint64_t timeMs);

[[nodiscard]] int SetInfo(BoardState& state, const DeviceQuestion& question, const void* buffer,
                          std::uint32_t size);

}  // namespace zarn::board
