// Taking the configuration in: the file, the screen over its bytes, the section of the manager.
// Nothing is on disk yet, so a rejected configuration leaves no trace.

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

#include "foundation/console.h"
#include "foundation/files.h"
#include "kit/section.h"
#include "mission/zarn_manager.h"

namespace zarn {
namespace {

// Values go into shell command lines as they stand, so no configuration may hold one of these.
constexpr std::string_view kHazardousSymbols = "&|;";

bool FailToOpen(const std::string& path) {
    return PrintFailure("[ZarnManager] Could not open the file - '" + path + "'");
}

// Appends the strings of `names` to `list`, skipping other elements, and prints what `list` holds.
bool TakeNames(const std::string& head, const JsonValue& names, std::vector<std::string>& list) {
    std::string line = head;
    for (const JsonValue& name : names.GetArray()) {
        if (name.IsString()) {
            list.emplace_back(name.GetString(), name.GetStringLength());
            line += " " + list.back() + " ";
        }
    }
    PrintLine(line);
    return true;
}

struct RequiredKey {
    const char* key;
    const char* lineWithout;
};

constexpr RequiredKey kManagerParam{"ManagerParam",
                                    "[ZarnManager] Failed to find ManagerParam Parameter!"};
constexpr RequiredKey kCompareMode{"compareMode",
                                   "[ZarnManager] Failed to find compareMode Parameter!"};
constexpr std::array<RequiredKey, 4> kModeKeys{{
    {"parallelCollectMode", "[ZarnManager] Failed to find parallelCollectMode Parameter!"},
    {"collectMode", "[ZarnManager] Failed to find collectMode Parameter!"},
    {"analyzeMode", "[ZarnManager] Failed to find analyzeMode Parameter!"},
    {"optimizeMode", "[ZarnManager] Failed to find optimizeMode Parameter!"},
}};
constexpr std::array<RequiredKey, 2> kCompareKeys{{
    {"versionMap", "[ZarnManager] Failed to find versionMap Parameter!"},
    {"comparatorName", "[ZarnManager] Failed to find comparatorName Parameter!"},
}};

// The member, or nullptr after its line.
const JsonValue* Require(const JsonValue& object, const RequiredKey& required) {
    const JsonValue* member = FindMember(object, required.key);
    if (member == nullptr) {
        PrintError(required.lineWithout);
    }
    return member;
}

// Stops at the first key that is missing.
template <std::size_t count>
bool HasAll(const JsonValue& object, const std::array<RequiredKey, count>& keys) {
    return std::all_of(keys.begin(), keys.end(), [&object](const RequiredKey& required) {
        return Require(object, required) != nullptr;
    });
}

}  // namespace

bool ZarnManager::LoadConfig() {
    if (!seams_.readable(configFile_)) {
        PrintError("[ZarnManager] The input config file: [" + configFile_ + "] is invalid!");
        return false;
    }
    std::string text;
    if (ReadFile(configFile_, text) == FileResult::CannotOpen) {
        return FailToOpen(configFile_);
    }
    document_.reset(new (std::nothrow) JsonDocument);
    if (document_ == nullptr) {
        PrintError("[ZarnManager] Bad alloc occurs when new a json object.");
        return false;
    }
    if (!ParseJson(text, *document_)) {
        PrintError("[ZarnManager] Exception occurs while parsing json file.");
        return false;
    }
    return true;
}

bool ZarnManager::CheckConfigHazard() {
    std::string text;
    // A text that breaks off says nothing of what comes behind.
    if (ReadFile(configFile_, text) != FileResult::Ok) {
        return FailToOpen(configFile_);
    }
    const auto hazard = std::find_if(text.begin(), text.end(), [](char symbol) {
        return kHazardousSymbols.find(symbol) != std::string_view::npos;
    });
    if (hazard != text.end()) {
        PrintError(std::string("[ZarnManager] Hazardous symbol \"") + *hazard + "\" detected!");
        return false;
    }
    return true;
}

bool ZarnManager::ParseMissionType() {
    if (!CheckMissionParam()) {
        return false;
    }
    const JsonValue& compare = (*document_)["ManagerParam"]["compareMode"];
    return ReadModeList("parallelCollectMode", parallelCollectMode_) &&
           ReadModeList("collectMode", collectMode_) && ReadModeList("analyzeMode", analyzeMode_) &&
           ReadModeList("optimizeMode", optimizeMode_) &&
           TakeNames("[ZarnManager] compareMode: ", compare["comparatorName"], compareMode_);
}

bool ZarnManager::ReadModeList(const char* key, std::vector<std::string>& list) const {
    return TakeNames("[ZarnManager] " + std::string(key) + ": ", (*document_)["ManagerParam"][key],
                     list);
}

bool ZarnManager::CheckMissionParam() const {
    try {
        const JsonValue* param = Require(*document_, kManagerParam);
        if (param == nullptr || !HasAll(*param, kModeKeys)) {
            return false;
        }
        if (!AllHaveType(*param, {{"collectMode", JsonType::Array},
                                  {"analyzeMode", JsonType::Array},
                                  {"optimizeMode", JsonType::Array},
                                  {"parallelCollectMode", JsonType::Array}})) {
            throw std::invalid_argument("Invalid mission type");
        }
        return CheckCompareMode();
    } catch (const std::exception& error) {
        PrintError(std::string("[ZarnManager] Error occurs: ") + error.what());
        return false;
    }
}

bool ZarnManager::CheckCompareMode() const {
    try {
        const JsonValue* compare = Require((*document_)[kManagerParam.key], kCompareMode);
        if (compare == nullptr) {
            return false;
        }
        if (!compare->IsObject()) {
            PrintError("[ZarnManager] Invalid compareMode mission type!");
            return false;
        }
        if (!HasAll(*compare, kCompareKeys)) {
            return false;
        }
        if (!AllHaveType(*compare,
                         {{"comparatorName", JsonType::Array}, {"versionMap", JsonType::Object}})) {
            throw std::invalid_argument("Invalid compareMode setting type");
        }
        return true;
    } catch (const std::exception& error) {
        PrintError(std::string("[ZarnManager] Error occurs: ") + error.what());
        return false;
    }
}

}  // namespace zarn
