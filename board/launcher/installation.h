#pragma once

#include <optional>
#include <string>
#include <vector>

// Where the parts of the virtual board lie, in a build directory or an installation.
namespace zarn::board {

struct Installation {
    std::string launcher;  // this program itself
    std::string programs;  // folder of zarn and the board's programs
    std::string data;      // folder of scenarios, kernel files and platform tools
    std::string tools;     // folder of the board's tools that are built
    std::string preload;   // the library that shows the kernel files below /proc
    std::string bench;     // folder of the stress benchmark
};

// The parts that belong to this program, or, if `build` is not empty, those of that build
// directory. nullopt if the board's server is not there.
[[nodiscard]] std::optional<Installation> FindInstallation(const std::string& build);

// The file of a scenario given as a name or a path; nullopt if it cannot be read.
[[nodiscard]] std::optional<std::string> FindScenario(const Installation& installation,
                                                      const std::string& nameOrPath);

// The lines of --list: a scenario and what it says about itself, in order of their names.
[[nodiscard]] std::vector<std::string> ListScenarios(const Installation& installation);

}  // namespace zarn::board
