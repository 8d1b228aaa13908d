#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "collectors/profiling/valgrind/program_words.h"
#include "foundation/json.h"
#include "kit/launch_setting.h"
#include "kit/setting_key.h"

// The sections of the collectors that profile single programs, CacheGrindCollector, MassifCollector
// and CallGrindCollector: the same two keys.
namespace zarn {

// Programs that the collector starts itself.
struct LaunchedPrograms {
    std::map<std::string, LaunchSetting> programs;  // by name
    std::uint32_t duration = 0;                     // of each run, s
};

// Processes that run.
struct RunningProcesses {
    std::vector<std::string> names;
    std::uint32_t duration = 0;  // of each recording, s
};

[[nodiscard]] const SettingKeys& LaunchedProgramsKeys();
[[nodiscard]] const SettingKeys& RunningProcessesKeys();

// Read the section `name`; false after their line if it is incomplete or illegal. A program whose
// launch setting is, is told and left out.
[[nodiscard]] bool ReadLaunchedPrograms(const JsonDocument& config, const char* name,
                                        const ProgramWords& words, LaunchedPrograms& settings);
[[nodiscard]] bool ReadRunningProcesses(const JsonDocument& config, const char* name,
                                        const ProgramWords& words, RunningProcesses& settings);

}  // namespace zarn
