#pragma once

#include <string>

#include "foundation/command_runner.h"
#include "optimizer/search/pso_types.h"

namespace zarn {

// The command of the stress benchmark, empty until it is first built.
using StressCommand = std::string;

// The command of this process: built at the first run, with that run's log path, and kept.
StressCommand& ProcessStressCommand();

// Runs the platform's stress benchmark, found relative to the working directory, with its output
// going to the screen and, anew at each run, to `logPath`; then appends the frame rates of its
// result lines to the lists of `perfMap`. Blocks as long as the benchmark runs. False after a line
// if a command ends with a non-zero status, if the log cannot be opened, or if it holds a line that
// is no result. The status of the run is that of the last program of the command's pipe, which
// writes the log: a benchmark that fails shows in its log.
[[nodiscard]] bool RunStressBenchmark(const std::string& logPath, PerfMap& perfMap,
                                      CommandRunner& runner = SystemCommandRunner(),
                                      StressCommand& command = ProcessStressCommand());

}  // namespace zarn
