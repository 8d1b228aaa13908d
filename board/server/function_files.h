#pragma once

#include <cstdint>
#include <string>

#include "board/state/board_state.h"

// Where profilers find the functions of the scheduler's tasks: for each of its processes a file
// that is no program, but has the names and places of functions as a program's file has them.
namespace zarn::board {

// Where the functions are in such a file, one behind the other, and how long each is.
inline constexpr std::uint64_t kFirstFunction = 0x1000;
inline constexpr std::uint64_t kFunctionSize = 0x40;

// The bytes of such a file: a shared object of 64 bits with the plan's functions in their order.
[[nodiscard]] std::string FunctionFileBytes(const SchedPlan& plan);

// The path of the file of a process of the plan, in the folder of a board.
[[nodiscard]] std::string FunctionFilePath(const std::string& folder, const SchedProcess& process);

// Lays the files of all processes in the folder of a board. False if one cannot be written.
[[nodiscard]] bool LayFunctionFiles(const std::string& folder, const SchedPlan& plan);

}  // namespace zarn::board
