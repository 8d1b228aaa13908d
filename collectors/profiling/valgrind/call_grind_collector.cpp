#include "collectors/profiling/valgrind/call_grind_collector.h"

#include <optional>
#include <utility>

#include "collectors/profiling/valgrind/begin_program.h"
#include "collectors/profiling/valgrind/call_chain_command.h"
#include "collectors/profiling/valgrind/program_words.h"
#include "formats/valgrind.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/process_id.h"

namespace zarn {
namespace {

constexpr ProcessIdWords kProcessWords = {
    {"[CallGrindCollector] Failed to get process id of ", "! Skipping this process!"},
    {"[CallGrindCollector] Target process:", " does not exist! Skipping this process!"},
};

}  // namespace

CallGrindCollector::CallGrindCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool CallGrindCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadRunningProcesses(config, kName, kCallGrindWords, settings_);
}

bool CallGrindCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                               const StopFlag* stopFlag) {
    const MissionCost cost;
    rawDir_ = dataPath + valgrind_files::kCallGrind.rawDir;
    if (!CreateDirectory(rawDir_)) {
        return PrintFailure(kCallGrindWords.noDirectory);
    }
    FindProcesses();
    if (!Collect(stopFlag)) {
        return PrintFailure(kCallGrindWords.failed);
    }
    cost.Record(kName, dataPath);
    return true;
}

void CallGrindCollector::FindProcesses() {
    for (const std::string& name : settings_.names) {
        const std::optional<std::string> pid = FindProcessId(name, kProcessWords, host_.runner);
        if (pid) {
            pids_[name] = *pid;
        }
    }
}

bool CallGrindCollector::Collect(const StopFlag* stopFlag) {
    for (const auto& [process, pid] : pids_) {
        std::string time;
        if (!BeginProgram(process, kCallGrindWords, stopFlag, host_.clock, time)) {
            return false;
        }
        const std::string stem = rawDir_ + valgrind_files::RecordingStem(process, pid, time);
        const std::string command = CallChainCommand(pid, stem, settings_.duration);
        if (host_.runner.Run(command) != 0) {
            std::string line = kCallGrindWords.programFailed;
            PrintError(
                line.append(process).append(ProgramWords::kBehindProgramFailed).append(command));
        }
    }
    return true;
}

}  // namespace zarn
