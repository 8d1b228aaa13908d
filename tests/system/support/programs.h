#pragma once

#include <string>
#include <vector>

// The programs under test: those of this build, or, where the environment variable ZARN_PREFIX
// names the prefix of an installation, the installed ones.
namespace zarn::test {

// The path of a program, of either package.
[[nodiscard]] std::string ProgramPath(const std::string& name = "zarn");

// How a program of this build or installation is started: its path, behind the emulator and its
// options where it is one of another processor.
[[nodiscard]] std::vector<std::string> ProgramStart(const std::string& name = "zarn");

// The launcher of the virtual board with these programs, words that need no quotes.
[[nodiscard]] std::string BoardLauncher();

// A script for bash that runs a program in the background, knows it, a process group of its own, as
// $zarn, runs the script `watcher` beside it, and ends with the program's status. What hangs is
// killed, so that a lost interrupt fails a test instead of holding up the suite.
[[nodiscard]] std::string WatchedScript(const std::string& program, const std::string& watcher);

}  // namespace zarn::test
