#pragma once

#include <string>
#include <vector>

// The process between the launcher and the command: it lasts as long as anything the command
// started, and takes all of it along when the launcher dies.
namespace zarn::board {

// How a guard is connected to the launcher.
struct GuardLines {
    int life = -1;     // held open as long as something of the command may live
    int command = -1;  // takes the number of the command's process, a line
};

// Runs the command and waits for the last process that comes from it; the command's exit status, as
// a shell shows it. Signals that are meant for the command do not end the guard. `launcher` is the
// process whose death ends everything: the parent.
[[nodiscard]] int GuardCommand(const std::vector<std::string>& command, const GuardLines& lines,
                               pid_t launcher);

}  // namespace zarn::board
