#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zarn::board {

// How the board's paths are put in their places.
enum class Paths { Any, Namespace, Proot };

// A call of the launcher.
struct LauncherOptions {
    enum class Action { Run, List, Help, Doctor };
    Action action = Action::Run;
    std::string scenario = "camera_pipeline";
    std::string seed = "1";
    std::string faults;
    std::string optUsr;
    std::string board;
    std::string workdir;
    std::string build;
    std::string perf;
    Paths paths = Paths::Any;
    std::vector<std::string> command;
};

inline constexpr const char* kLauncherUsage =
    R"(usage: zarn-board [options] -- COMMAND [ARGUMENT...]

  --scenario NAME  what happens on the board: a name that --list shows, or a file (default: camera_pipeline)
  --seed N         seed of everything random (default: 1)
  --faults FILE    which library calls fail, and how
  --opt-usr DIR    the folder that is /opt/usr on the board (default: a fresh one, kept if something is in it)
  --board DIR      keep the board's state in DIR, or go on with the one there
  --workdir DIR    run the command in DIR, with the stress benchmark (virtual_node/) in it
  --build DIR      the build directory whose programs and libraries to use
  --paths WAY      how the board's paths get in their places: namespace or proot (default: the first that works)
  --namespace      the same as --paths namespace
  --perf WHICH     who samples the functions: machine or model (default: the machine where its kernel can)
  --doctor         say which of these ways this machine allows, and what the others lack, and leave
  --list           show the scenarios and leave
  --help           show this and leave)";

// A call as the launcher understood it, or why it did not: `problem` is a line about an option that
// lacks its value, or empty where the whole usage says it better.
struct ParsedCall {
    std::optional<LauncherOptions> options;
    std::string problem;
};

[[nodiscard]] ParsedCall ParseLauncherOptions(const std::vector<std::string>& words);

}  // namespace zarn::board
