#pragma once

#include "board/server/server_process.h"

// What zarn-board-server prints about a board, from the words behind the command. Each gives the
// program's status: 1 after a line, kWrongCall for words that it does not understand.
namespace zarn::board {

// STATE MILLISECONDS...
[[nodiscard]] int PrintTable(const Arguments& arguments);
[[nodiscard]] int PrintEvents(const Arguments& arguments);
// STATE [MICROSECONDS...]
[[nodiscard]] int PrintBuffers(const Arguments& arguments);
// STATE FROM_US TO_US
[[nodiscard]] int PrintSched(const Arguments& arguments);
[[nodiscard]] int PrintBursts(const Arguments& arguments);
// STATE
[[nodiscard]] int PrintStatus(const Arguments& arguments);
[[nodiscard]] int PrintAccount(const Arguments& arguments);
// SCENARIO SEED -a|-C CORE|-p PROGRAM FROM_MS TO_MS
[[nodiscard]] int PrintTruth(const Arguments& arguments);

}  // namespace zarn::board
