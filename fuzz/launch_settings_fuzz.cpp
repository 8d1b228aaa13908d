#include <string>

#include "collectors/profiling/valgrind/program_settings.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"
#include "kit/section.h"

namespace {

using zarn::fuzz::Require;

constexpr const char* kName = "MassifCollector";
constexpr const char* kLaunchSection = "ProcessRunSetting";

// A root, a section or an entry that is no object ends the process, which is meant.
bool HasOnlyObjects(const zarn::JsonDocument& config) {
    if (!config.IsObject()) {
        return false;
    }
    for (const char* name : {kName, kLaunchSection}) {
        const zarn::JsonValue* section = zarn::FindMember(config, name);
        if (section != nullptr && !section->IsObject()) {
            return false;
        }
    }
    if (const zarn::JsonValue* programs = zarn::FindMember(config, kLaunchSection)) {
        for (const auto& program : programs->GetObject()) {
            if (!program.value.IsObject()) {
                return false;
            }
        }
    }
    return true;
}

bool BeginsWith(const std::string& text, const std::string& begin) {
    return text.rfind(begin, 0) == 0;
}

// The command is what the setting holds, byte by byte, around the tool.
void CheckCommand(const zarn::LaunchSetting& setting) {
    const std::string tool = "tool --out=report ";
    std::string rest = zarn::LaunchCommand(setting, tool);
    for (const std::string& variable : setting.exports) {
        Require(BeginsWith(variable, "export ") && BeginsWith(rest, variable + " && "),
                "exports come first");
        rest.erase(0, variable.size() + 4);
    }
    const std::string plain = tool + setting.binPath;
    Require(rest == (setting.allocationGroup
                         ? "rungate " + plain + " --allocGroup=" + *setting.allocationGroup
                         : plain),
            "the program comes behind the tool");
}

}  // namespace

// Any configuration is accepted or refused, and of an accepted one only programs whose entries are
// whole remain.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zarn::JsonDocument config;
    if (!zarn::ParseJson(zarn::fuzz::AsText(data, size), config) || !HasOnlyObjects(config)) {
        return 0;
    }
    zarn::LaunchedPrograms settings;
    if (!zarn::ReadLaunchedPrograms(config, kName, zarn::kMassifWords, settings)) {
        return 0;
    }
    Require(settings.programs.size() <= config[kName]["process"].Size(), "no program is made up");
    for (const auto& [program, setting] : settings.programs) {
        Require(zarn::CheckProcessRunSetting(config, program, kName),
                "a program that is kept is whole");
        CheckCommand(setting);
    }
    return 0;
}
