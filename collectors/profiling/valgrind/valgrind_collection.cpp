#include "collectors/profiling/valgrind/valgrind_collection.h"

#include <utility>

#include "collectors/profiling/valgrind/begin_program.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/paths.h"
#include "kit/cost.h"

namespace zarn {
namespace {

constexpr const char* kProgram = "valgrind";  // as `pidof` knows it

}  // namespace

ValgrindCollection::ValgrindCollection(const ValgrindTool& tool, Host host)
    : tool_(tool), host_(std::move(host)) {}

bool ValgrindCollection::CheckOptions(const JsonDocument& config) {
    return ReadLaunchedPrograms(config, tool_.name, tool_.words, settings_);
}

bool ValgrindCollection::Start(const std::string& dataPath, const StopFlag* stopFlag) {
    const MissionCost cost;
    rawDir_ = dataPath + tool_.files.rawDir;
    if (!CreateDirectory(rawDir_)) {
        return PrintFailure(tool_.words.noDirectory);
    }
    if (!Collect(stopFlag)) {
        return PrintFailure(tool_.words.failed);
    }
    cost.Record(tool_.name, dataPath);
    return true;
}

bool ValgrindCollection::Collect(const StopFlag* stopFlag) {
    for (const auto& [program, setting] : settings_.programs) {
        std::string time;
        if (!BeginProgram(program, tool_.words, stopFlag, host_.clock, time)) {
            return false;
        }
        if (KillProcessByName(program, tool_.name, "-9", host_.runner)) {
            Run(program, setting, time);
        }
    }
    return true;
}

void ValgrindCollection::Run(const std::string& program, const LaunchSetting& setting,
                             const std::string& time) {
    const std::string report = rawDir_ + valgrind_files::ReportName(tool_.files, program, time);
    const std::string command = LaunchCommand(setting, tool_.command + report + " ");
    if (!RunCommandThenKill(command, settings_.duration, tool_.name, kProgram, host_.runner)) {
        PrintError(tool_.words.programFailed + program + ProgramWords::kBehindProgramFailed +
                   command);
        return;
    }
    const std::string pattern = valgrind_files::ReportPattern(tool_.files, program);
    if (!FileExistsByRegex(rawDir_, pattern, tool_.name)) {
        PrintError(tool_.words.noReport + program + ProgramWords::kBehindNoReport);
    }
}

}  // namespace zarn
