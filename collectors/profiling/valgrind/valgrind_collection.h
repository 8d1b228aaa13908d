#pragma once

#include <string>

#include "collectors/profiling/valgrind/program_settings.h"
#include "collectors/profiling/valgrind/program_words.h"
#include "formats/valgrind.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

namespace zarn {

// What the collectors that start programs under valgrind differ in.
struct ValgrindTool {
    const char* name;  // of the collector
    const ProgramWords& words;
    const valgrind_files::Kind& files;
    const char* command;  // up to its output file
};

// Starts each program under a tool of valgrind, by a thread that waits for the command while this
// one sleeps, and interrupts valgrind when the time is over, so that it writes its report. A copy
// of the program that runs already is killed first. A program that fails says so; the others go on.
class ValgrindCollection {
public:
    ValgrindCollection(const ValgrindTool& tool, Host host);

    [[nodiscard]] bool CheckOptions(const JsonDocument& config);

    // False if the directory cannot be made, there is no time for a file's name, or an interrupt
    // came before the last program.
    [[nodiscard]] bool Start(const std::string& dataPath, const StopFlag* stopFlag);

private:
    [[nodiscard]] bool Collect(const StopFlag* stopFlag);
    void Run(const std::string& program, const LaunchSetting& setting, const std::string& time);

    const ValgrindTool& tool_;
    Host host_;
    LaunchedPrograms settings_;
    std::string rawDir_;
};

}  // namespace zarn
