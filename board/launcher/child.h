#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// Processes, for the launcher, whose work they are.
namespace zarn::board {

// Starts a copy of this process that does `work` and ends with its result as exit status. -1 with
// errno if none can be had.
[[nodiscard]] pid_t StartChild(const std::function<int()>& work);

// Whether a folder of PATH has a file of that name to which there is this access (F_OK, X_OK).
[[nodiscard]] bool IsInPath(const std::string& program, int access);

// Becomes the command. If that fails, says so in a line and gives the status that a shell gives:
// 127 if there is none, 126 otherwise.
int Become(const std::vector<std::string>& command);

// Becomes the program of that path under another name. If that fails, says so in a line and gives
// 126.
int BecomeNamed(const std::string& path, const std::string& name);

// Waits for a child; the exit status as a shell shows it, 128 + the signal that ended it.
[[nodiscard]] int WaitForChild(pid_t child);
[[nodiscard]] int ShellStatus(int waitStatus);

// Has `work` done in a process of its own, and gives the text with which it came back, if any.
[[nodiscard]] std::optional<std::string> AskChild(
    const std::function<std::optional<std::string>()>& work);

// A pipe whose ends are closed in other programs.
struct Pipe {
    int read = -1;
    int write = -1;
};
[[nodiscard]] std::optional<Pipe> MakePipe();

// Reads until a newline or the end, or until nothing has come for so many seconds; the text without
// the newline.
inline constexpr int kPatienceSeconds = 20;
[[nodiscard]] std::string ReadWord(int fd, int seconds = kPatienceSeconds);

// Whether a descriptor goes on to the next program.
void KeepOpen(int fd, bool keep);

}  // namespace zarn::board
