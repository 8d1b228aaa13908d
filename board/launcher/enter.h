#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/launcher/guard.h"
#include "board/launcher/installation.h"
#include "board/launcher/options.h"

namespace zarn::board {

// Where the board's parts are when a command is to be run on it.
struct BoardPlaces {
    std::string folder;   // of the board
    std::string scratch;  // for the time of the run
    std::string optUsr;
};

// Runs the command on the board, in this process and those it starts, and gives the exit status.
// `launcher` is the parent.
[[nodiscard]] int RunOnBoard(Paths way, const BoardPlaces& places, const Installation& installation,
                             const std::vector<std::string>& command, const GuardLines& lines,
                             pid_t launcher);

// The word by which the launcher has itself started as the guard behind the tracer:
// kGuardWord LIFE COMMAND -- command...
inline constexpr const char* kGuardWord = "--guard";

// The guard of such a call, whose words are what follows kGuardWord.
[[nodiscard]] int GuardBehindTracer(const std::vector<std::string>& words);

}  // namespace zarn::board
