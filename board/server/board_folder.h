#pragma once

#include <sys/types.h>

#include <string>

#include "board/state/board_state.h"

// The folder of a board on disk: `state`, the kernel files below `files`, and two locks.
namespace zarn::board {

// What a board is made from. Paths and words as the user gave them.
struct BoardSource {
    std::string data;  // the folder with the kernel files that do not move, in `files`
    std::string scenario;
    std::string seed;
    std::string faults;  // "" for none
};

// Writes the state file of a fresh board. False after its line.
[[nodiscard]] bool CreateState(const std::string& path, const BoardSource& source);

// Makes a board in a folder that is there, unless one is in it already. False after its line.
[[nodiscard]] bool MakeBoard(const std::string& folder, const BoardSource& source);

// Makes the folder and those above it; a `fresh` one must not have been there. False after its
// line.
[[nodiscard]] bool MakeFolder(const std::string& folder, bool fresh);

// Removes the folder and all in it but what somebody left in its /opt/usr, the folder `opt-usr`.
void RemoveBoard(const std::string& folder);

// A folder that one server makes and removes, for the time of its run.
[[nodiscard]] std::string ScratchOf(const std::string& folder, pid_t server);

// Where the bandwidth table is.
[[nodiscard]] std::string TablePath(const std::string& folder);

// Takes the table, the event scheduler's attributes and what the recorder tells away: figures that
// stand still are none.
void RemoveFigures(const std::string& folder, const BoardState& state);

// The same, if no server is at work on the board. True if it was done.
bool TakeFiguresAway(const std::string& folder, const BoardState& state);

// The lock that the board's serving program holds, opened; -1 with errno.
[[nodiscard]] int OpenServerLock(const std::string& folder);

}  // namespace zarn::board
