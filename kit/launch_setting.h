#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/json.h"

// The section ProcessRunSetting: how missions start the programs that they measure. A member for
// each program, under the name by which missions list it.
namespace zarn {

// Whether the section tells all that it has to of the program `name`, each value with its type; the
// first half looks for what must be there, the second, which expects that of the first, at the
// types. False after the line about what is amiss, headed by `tag`. The section and the member of
// that name are objects: another type trips the JSON library's assertion, which ends the process.
[[nodiscard]] bool CheckProcessRunSetting(const JsonDocument& config, const std::string& name,
                                          const std::string& tag);
[[nodiscard]] bool CheckRunSettingPresence(const JsonDocument& config, const std::string& name,
                                           const std::string& tag);
[[nodiscard]] bool CheckRunSettingTypes(const JsonDocument& config, const std::string& name,
                                        const std::string& tag);

// How a program is started.
struct LaunchSetting {
    std::string binPath;                         // a command and its arguments
    std::vector<std::string> exports;            // "export <key>=<value>", as the file has them
    std::optional<std::string> allocationGroup;  // with one, it runs under the platform's launcher
};

// That of the program `name`, of which the check has nothing to say.
[[nodiscard]] LaunchSetting ReadLaunchSetting(const JsonDocument& config, const std::string& name);

// The shell command that starts the program under `tool`, a command with its options and a blank
// behind. Nothing is quoted: what the setting holds means to the shell what it means there.
[[nodiscard]] std::string LaunchCommand(const LaunchSetting& setting, const std::string& tool);

}  // namespace zarn
