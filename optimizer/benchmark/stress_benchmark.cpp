#include "optimizer/benchmark/stress_benchmark.h"

#include <regex>

#include "foundation/console.h"
#include "foundation/files.h"
#include "optimizer/benchmark/stress_log_parser.h"

namespace zarn {
namespace {

constexpr const char* kMakeExecutable = "chmod +x ./virtual_node/bin/stress_benchmark";
constexpr const char* kRunAndTee =
    "rungate ./virtual_node/bin/stress_benchmark ./virtual_node/config/Config.yaml "
    "--allocGroup=default_dm | tee ";

bool ReadStressLog(const std::string& text, PerfMap& perfMap) {
    try {
        if (ParseStressLog(text, perfMap)) {
            return true;
        }
        PrintError("[DdrOptimizer] Failed to get stress perfs.");
    } catch (const std::regex_error& error) {
        PrintError(std::string("[DdrOptimizer] Failed to obtain the regular expression. Error: ") +
                   error.what());
    }
    return false;
}

}  // namespace

StressCommand& ProcessStressCommand() {
    static StressCommand command;
    return command;
}

bool RunStressBenchmark(const std::string& logPath, PerfMap& perfMap, CommandRunner& runner,
                        StressCommand& command) {
    if (command.empty()) {
        command = kRunAndTee + logPath;
    }
    // The second command runs even if the first fails: what is tested is both results.
    const int madeExecutable = runner.Run(kMakeExecutable);
    const int ran = runner.Run(command);
    if (madeExecutable != 0 || ran != 0) {
        return PrintFailure("[DdrOptimizer] Failed to run stress benchmark!");
    }
    std::string text;
    if (ReadFileHead(logPath, kStressLastLine, text) == FileResult::CannotOpen) {
        return PrintFailure("[DdrOptimizer] Failed to open the stress log file - '" + logPath +
                            "'");
    }
    return ReadStressLog(text, perfMap);
}

}  // namespace zarn
