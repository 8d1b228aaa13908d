#pragma once

#include <string>

// The shell lines of the scheduler's analyzer. Texts of raw files never become commands: a word
// that is no ordinary name stands in quotes.
namespace zarn {

// Where a line takes from, where it appends to: whole paths.
struct SchedPaths {
    std::string from;
    std::string to;
};

// Appends the rows of the latency report, thread by thread, that hold `key`.
[[nodiscard]] std::string TaskLogCommand(const SchedPaths& paths, const std::string& key);

// Appends the lines of a history that hold both the name and the tid.
[[nodiscard]] std::string ThreadLogCommand(const SchedPaths& paths, const std::string& name,
                                           const std::string& tid);

// Appends what a recording tells of `cpu` in the 200 lines up to `time`.
[[nodiscard]] std::string ScriptLogCommand(const SchedPaths& paths, const std::string& time,
                                           const std::string& cpu);

// What the rows of one task's threads hold: its name as the report has it, without the number of
// threads that are summed up in "name:(n)".
[[nodiscard]] std::string TaskKey(const std::string& task);

}  // namespace zarn
