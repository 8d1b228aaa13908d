#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/command_runner.h"

// Running shell commands and finding processes by them. A failure is a false result after one line
// on the error stream.
namespace zarn {

// Replaces `output` by everything `command` prints on standard output; trailing newlines stay. True
// even when the command fails; false after its line when it cannot be started.
[[nodiscard]] bool ExecuteCommand(const std::string& command, std::string& output,
                                  CommandRunner& runner = SystemCommandRunner());

// The same for output that need not lie in memory as a whole: hands it on in pieces that end
// anywhere. After a false result some may have been handed over.
[[nodiscard]] bool StreamCommand(const std::string& command, const CommandRunner::Sink& take,
                                 CommandRunner& runner = SystemCommandRunner());

// Appends one string per line of the command's output, without its newline. Lines are read in
// pieces of at most kCommandLinePiece bytes, so a longer line gives several strings.
[[nodiscard]] bool ExecuteCommandLines(const std::string& command, std::vector<std::string>& lines,
                                       CommandRunner& runner = SystemCommandRunner());
inline constexpr std::size_t kCommandLinePiece = 511;

// The same for lines that need not lie in memory as a whole: calls `take` with each as it comes, a
// view that holds during the call. After a false result some may have been handed over.
[[nodiscard]] bool StreamCommandLines(const std::string& command, const CommandRunner::Sink& take,
                                      CommandRunner& runner = SystemCommandRunner());

// The cutting behind it, for missions that keep the whole output and views into it.
void CutCommandLines(std::string_view output, std::vector<std::string_view>& lines);

// The same line by line, without a list.
class CommandLineCursor {
public:
    // `output` must outlive the cursor and the lines taken from it.
    explicit CommandLineCursor(std::string_view output) : rest_(output) {}

    // Takes the next line or piece of one; false at the end.
    bool Next(std::string_view& line);

    // The same, but of a text that goes on elsewhere: false also if the last line might go on.
    bool NextWhole(std::string_view& line);

    // What has not been taken.
    [[nodiscard]] std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
};

// The same for output that comes in pieces which end anywhere: at most the beginning of one line is
// kept between two of them.
class CommandLineSplitter {
public:
    // Calls take(line) for each line that is whole now.
    template <typename Take>
    void Feed(std::string_view output, Take take);

    // The last line, if it had no newline.
    template <typename Take>
    void Finish(Take take);

private:
    std::string begun_;  // shorter than a piece, without a newline
};

// Starts `command` on a thread, sleeps `seconds` (not watching any stop flag; 0 does not sleep),
// then interrupts `processName` with KillProcessByName and "-2" and joins the thread. If the kill
// fails the thread still runs and the ending of the function terminates the process. `tag` heads
// the lines.
[[nodiscard]] bool RunCommandThenKill(const std::string& command, std::uint32_t seconds,
                                      const std::string& tag, const std::string& processName,
                                      CommandRunner& runner = SystemCommandRunner());

// Sends the signal of `signalOption`, such as "-2", to the one process of that name. No process, or
// several, is no failure and nothing is killed.
[[nodiscard]] bool KillProcessByName(const std::string& processName, const std::string& tag,
                                     const std::string& signalOption,
                                     CommandRunner& runner = SystemCommandRunner());

// Appends (name, pid text) for each name that `pidof` knows; several pids stay in one
// blank-separated text. Unknown names are left out after a line. Always true.
bool GetProcessIds(const std::string& tag, const std::vector<std::string>& processNames,
                   std::vector<std::pair<std::string, std::string>>& processIds,
                   CommandRunner& runner = SystemCommandRunner());

// A copy without LF and CR, with a backslash before each of #&;,|*?~<>^()[]{}$`! and the backslash.
[[nodiscard]] std::string EscapeShellArgument(const std::string& input);

// True if the machine has more processors than `core`.
[[nodiscard]] bool CheckCoreId(std::uint32_t core, CommandRunner& runner = SystemCommandRunner());

template <typename Take>
void CommandLineSplitter::Feed(std::string_view output, Take take) {
    std::string_view line;
    if (!begun_.empty()) {
        const std::size_t size = begun_.size();
        begun_.append(output.substr(0, kCommandLinePiece - size));
        CommandLineCursor first(begun_);
        if (!first.NextWhole(line)) {
            return;
        }
        // What was appended behind the line is read again from `output`.
        output.remove_prefix(begun_.size() - first.Rest().size() - size);
        take(line);
        begun_.clear();
    }
    CommandLineCursor cursor(output);
    while (cursor.NextWhole(line)) {
        take(line);
    }
    begun_ = cursor.Rest();
}

template <typename Take>
void CommandLineSplitter::Finish(Take take) {
    if (!begun_.empty()) {
        take(std::string_view(begun_));
        begun_.clear();
    }
}

}  // namespace zarn
