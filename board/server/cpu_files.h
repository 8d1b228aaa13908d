#pragma once

#include <array>
#include <cstdint>
#include <string>

// The machine's files about its processors, as the board shows them: with its own cores.
namespace zarn::board {

// The lists of /sys/devices/system/cpu that the board has, if its scenario says what its cores run.
inline constexpr std::array kCoreLists{"online", "possible", "present"};

// /proc/cpuinfo of so many cores, made of the machine's: each core has what a processor of the
// machine has, but numbers of its own, so that none of them seems to be a part of another.
[[nodiscard]] std::string CpuinfoText(const std::string& machine, std::uint32_t cores);

// A list of /sys/devices/system/cpu of all cores.
[[nodiscard]] std::string CoreListText(std::uint32_t cores);

// Lays them below `files`, the folder of the board's kernel files. False if one cannot be written.
[[nodiscard]] bool LayCpuFiles(const std::string& files, std::uint32_t cores);

}  // namespace zarn::board
