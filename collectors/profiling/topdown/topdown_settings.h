#pragma once

#include <map>
#include <string>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "kit/setting_key.h"

// Tests of the section `TopdownCollector`. A false result comes after its line on the error stream.
namespace zarn {

namespace topdown_jobs {
inline constexpr const char* kGlobal = "global";
inline constexpr const char* kCore = "core";
inline constexpr const char* kProcess = "process";
}  // namespace topdown_jobs

// The jobs, and whether they are asked for.
using TopdownJobs = std::map<std::string, bool>;

[[nodiscard]] const SettingKeys& TopdownCollectorKeys();

// The section of `config`, an object; nullptr after its line if it or one of its keys is missing.
[[nodiscard]] const JsonValue* OpenTopdownSection(const JsonDocument& config);

// The tests of single keys, which a section that was opened has.
[[nodiscard]] bool CheckTopdownProcess(const JsonValue& section);
[[nodiscard]] bool CheckTopdownCore(const JsonValue& section, CommandRunner& runner);
[[nodiscard]] bool CheckTopdownDuration(const JsonValue& section);

// Sets the jobs of the list; those before one that cannot be are set, too.
[[nodiscard]] bool ReadTopdownJobs(const JsonDocument& config, TopdownJobs& jobs);

}  // namespace zarn
