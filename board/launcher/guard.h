#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
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

// Kills the children of this process but one; whether there were any. A process that takes in every
// orphan below it has none left after enough rounds.
bool KillChildren(pid_t spared = 0);

// Runs the command and waits for the last process that comes from it; the command's exit status, as
// a shell shows it. Signals that are meant for the command do not end the guard. `launcher` is the
// process whose death ends everything: the parent.
[[nodiscard]] int GuardCommand(const std::vector<std::string>& command, const GuardLines& lines,
                               pid_t launcher);

// At this signal, which no terminal sends, a tracer kills whom it traces, and ends. Were it killed
// itself, they would run on in the middle of a system call, and crash.
inline constexpr int kEndOfTracer = SIGABRT;

// Runs a tracer, which a child becomes, and waits for its end, however it comes; then kills what it
// has left, which is what it had not begun to trace: the kernel leaves that stopped for ever. Its
// exit status. The parent's death ends the tracer.
[[nodiscard]] int GuardTracer(const std::function<int(pid_t guard)>& becomeTracer,
                              const GuardLines& lines, pid_t launcher);

}  // namespace zarn::board
