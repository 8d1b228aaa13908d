#include "foundation/commands.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <set>
#include <system_error>
#include <thread>

#include "foundation/command_runner.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr const char* kNotStarted = "[zarn_utils] Failed to popen command!";
constexpr const char* kNoLines = "[zarn_utils]: execute command failed.";

// The characters that mean something to a shell.
const std::set<char>& ShellCharacters() {
    static const std::string_view text = "#&;,|\\*?~<>^()[]{}$`!";
    static const std::set<char> characters(text.begin(), text.end());
    return characters;
}

void RemoveLastCharacter(std::string& text) {
    if (!text.empty()) {
        text.pop_back();
    }
}

void PrintSkipped(const std::string& tag, const std::string& processName) {
    PrintError("[" + tag + "] Failed to get process id of " + processName + ", Skipped it!");
}

}  // namespace

bool ExecuteCommand(const std::string& command, std::string& output, CommandRunner& runner) {
    output.clear();
    return runner.Capture(command, output) || PrintFailure(kNotStarted);
}

bool StreamCommand(const std::string& command, const CommandRunner::Sink& take,
                   CommandRunner& runner) {
    return runner.Stream(command, take) || PrintFailure(kNotStarted);
}

bool CommandLineCursor::NextWhole(std::string_view& line) {
    // A line of exactly one piece leaves its newline to a piece of its own, an empty one.
    const std::string_view piece = rest_.substr(0, kCommandLinePiece);
    const std::size_t end = piece.find('\n');
    if (end == std::string_view::npos && piece.size() < kCommandLinePiece) {
        return false;
    }
    line = piece.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? piece.size() : end + 1);
    return true;
}

bool CommandLineCursor::Next(std::string_view& line) {
    if (NextWhole(line)) {
        return true;
    }
    line = rest_;
    rest_ = {};
    return !line.empty();
}

void CutCommandLines(std::string_view output, std::vector<std::string_view>& lines) {
    CommandLineCursor cursor(output);
    std::string_view line;
    while (cursor.Next(line)) {
        lines.push_back(line);
    }
}

bool ExecuteCommandLines(const std::string& command, std::vector<std::string>& lines,
                         CommandRunner& runner) {
    std::string output;
    if (!runner.Capture(command, output)) {
        return PrintFailure(kNoLines);
    }
    std::vector<std::string_view> views;
    CutCommandLines(output, views);
    lines.insert(lines.end(), views.begin(), views.end());
    return true;
}

bool StreamCommandLines(const std::string& command, const CommandRunner::Sink& take,
                        CommandRunner& runner) {
    CommandLineSplitter splitter;
    const bool streamed = runner.Stream(
        command, [&](std::string_view output) { splitter.Feed(output, std::cref(take)); });
    try {
        if (streamed) {
            splitter.Finish(std::cref(take));
            return true;
        }
    } catch (const std::exception&) {
        // Memory does not suffice for the last line: told as for any other.
    }
    return PrintFailure(kNoLines);
}

bool RunCommandThenKill(const std::string& command, std::uint32_t seconds, const std::string& tag,
                        const std::string& processName, CommandRunner& runner) {
    std::thread tool;
    try {
        tool = std::thread([&command, &runner] { runner.Run(command); });
    } catch (const std::system_error& error) {
        return PrintFailure(std::string("[zarn_utils] Error occurs: ") + error.what());
    }
    if (seconds != 0) {
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
    }
    const bool killed = KillProcessByName(processName, tag, "-2", runner);
    if (killed) {
        tool.join();
    }
    return killed;
}

bool KillProcessByName(const std::string& processName, const std::string& tag,
                       const std::string& signalOption, CommandRunner& runner) {
    std::string pids;
    if (!ExecuteCommand("pidof " + processName, pids, runner)) {
        return PrintFailure("[" + tag + "] Failed to get process id of " + processName +
                            "! Skipping this process!");
    }
    RemoveLastCharacter(pids);
    if (!IsDigitString(pids)) {
        return true;
    }
    if (runner.Run("kill " + signalOption + " " + pids) != 0) {
        return PrintFailure("[" + tag + "] Fail to kill process:" + processName);
    }
    return true;
}

bool GetProcessIds(const std::string& tag, const std::vector<std::string>& processNames,
                   std::vector<std::pair<std::string, std::string>>& processIds,
                   CommandRunner& runner) {
    for (const std::string& name : processNames) {
        std::string pids;
        if (!ExecuteCommand("pidof " + name, pids, runner) || pids.empty()) {
            PrintSkipped(tag, name);
            continue;
        }
        RemoveLastCharacter(pids);
        processIds.emplace_back(name, pids);
    }
    return true;
}

std::string EscapeShellArgument(const std::string& input) {
    std::string escaped;
    for (const char c : input) {
        if (c == '\n' || c == '\r') {
            continue;
        }
        if (ShellCharacters().count(c) != 0) {
            escaped.push_back('\\');
        }
        escaped.push_back(c);
    }
    return escaped;
}

bool CheckCoreId(std::uint32_t core, CommandRunner& runner) {
    std::string output;
    if (!ExecuteCommand(R"(cat /proc/cpuinfo| grep "processor"| wc -l)", output, runner) ||
        output.empty()) {
        return PrintFailure("[zarn_utils] Failed to get device core amount!");
    }
    RemoveLastCharacter(output);
    try {
        const unsigned long count = std::stoul(output);
        if (count > core) {
            return true;
        }
        PrintError("[zarn_utils] Invalid coreID value: " + std::to_string(core) +
                   ", it should less than " + std::to_string(count) + " !");
    } catch (const std::exception& error) {
        PrintError(std::string("[zarn_utils] Error occurs: ") + error.what());
    }
    return false;
}

}  // namespace zarn
