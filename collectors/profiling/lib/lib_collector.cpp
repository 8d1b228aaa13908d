#include "collectors/profiling/lib/lib_collector.h"

#include <optional>
#include <utility>

#include "collectors/profiling/lib/lib_commands.h"
#include "formats/lib.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "kit/cost.h"
#include "kit/process_id.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr ProcessIdWords kProcessWords = {
    {"[LibCollector] Failed to get process id of ", "! Skipping this process!"},
    {"[LibCollector] Target process:", " does not exist! Skipping this process!"},
};

}  // namespace

LibCollector::LibCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool LibCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadLibSettings(config, duration_);
}

bool LibCollector::Start(const JsonDocument& config, const std::string& dataPath,
                         const StopFlag* stopFlag) {
    const MissionCost cost;
    rawPath_ = dataPath + lib_files::kRawDir;
    if (!CreateDirectory(rawPath_)) {
        return PrintFailure("[LibCollector] Cannot create lib collect directory!");
    }
    FindProcesses(config);
    if (!Record(stopFlag)) {
        return PrintFailure("[LibCollector] Failed to collect lib!");
    }
    cost.Record(kName, dataPath);
    return true;
}

// A name that is no string trips the JSON library's assertion, which ends the process; those before
// it have been looked up then.
void LibCollector::FindProcesses(const JsonDocument& config) {
    for (const JsonValue& process : LibProcesses(config).GetArray()) {
        const std::string name = TextOf(process);
        const std::optional<std::string> pid = FindProcessId(name, kProcessWords, host_.runner);
        if (pid) {
            pids_[name] = *pid;
        }
    }
}

bool LibCollector::Record(const StopFlag* stopFlag) {
    for (const auto& [name, pid] : pids_) {
        if (IsSet(stopFlag)) {
            PrintLine("[LibCollector] Received stop signal, process " + name +
                      " and processes after are not collected");
            return false;
        }
        std::string time;
        if (!TakeTime(time)) {
            return false;
        }
        const std::string path = rawPath_ + lib_files::RawName(name, pid, time);
        if (host_.runner.Run(LibRecordCommand(pid, path, duration_)) != 0) {
            PrintError("[LibCollector] Fail to collect " + name + " info!");
        }
    }
    return true;
}

bool LibCollector::TakeTime(std::string& time) const {
    if (!host_.clock.currentTime(time)) {
        return PrintFailure("[LibCollector] Failed to get time stamp!");
    }
    return IsDigitString(time) || PrintFailure("[LibCollector] Got non-numeric timestamp!");
}

}  // namespace zarn
