#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "foundation/command_runner.h"

namespace zarn {

// The names of processes and of their buffer groups. What a pid was called once it is called for
// good: a process is asked about once, and one that had ended by then has no names.
class MbufNames {
public:
    explicit MbufNames(CommandRunner& runner) : runner_(runner) {}

    [[nodiscard]] std::string ProcessOf(std::uint32_t pid);
    // Each followed by ","; those found, after a line, where not all could be had.
    [[nodiscard]] std::string GroupsOf(std::uint32_t pid);

private:
    // Nothing if a shell could not be started.
    std::optional<std::string> AskForGroups(std::uint32_t pid);

    CommandRunner& runner_;
    std::map<std::uint32_t, std::string> processes_;
    std::map<std::uint32_t, std::string> groups_;
};

}  // namespace zarn
