// From names to missions: building them by the factory tables and checking their sections.

#include <sys/stat.h>

#include "foundation/console.h"
#include "mission/zarn_manager.h"

namespace zarn {
namespace {

// Calls the factory of each name with the name and `args`, up to the first name without one, which
// is told behind `unknownName`.
template <class Factory, class... Args>
bool BuildAll(const std::vector<std::string>& names, const Factory& factory,
              const char* unknownName, Args&... args) {
    for (const std::string& name : names) {
        const auto row = factory.find(name);
        if (row == factory.end()) {
            PrintError(unknownName + name);
            return false;
        }
        row->second(name, args...);
    }
    return true;
}

// Checks every mission, also after a failure, so that one run lists every illegal section.
template <class Mission>
bool CheckAll(const MissionList<Mission>& missions, const JsonDocument& config,
              const std::string& modeName) {
    bool allPassed = true;
    for (const auto& mission : missions) {
        const std::string head =
            "[ZarnManager] Options check for " + modeName + " mode " + mission->Name();
        if (mission->CheckOptions(config, modeName)) {
            PrintLine(head + " passed!");
        } else {
            PrintError(head + " failed!");
            allPassed = false;
        }
    }
    return allPassed;
}

// Takes one member of the version map; the first value of a repeated key counts.
bool TakeVersion(const JsonValue& key, const JsonValue& value, VersionMap& versions) {
    if (!key.IsString()) {
        PrintError("[ZarnManager] the key of comparator version map should be a string!");
        return false;
    }
    if (!value.IsString()) {
        PrintError("[ZarnManager] the value of comparator version map should be a string!");
        return false;
    }
    struct stat status {};
    if (::stat(value.GetString(), &status) != 0) {
        PrintError("[ZarnManager] the dir of version is not valid!");
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        PrintError(std::string("[ZarnManager] the dir of version: ") + key.GetString() +
                   " is not a directory, should input a valid directory!");
        return false;
    }
    versions.emplace(key.GetString(), value.GetString());
    return true;
}

constexpr const char* kUnknownCollector = "[ZarnManager] Not a supported collector type: ";

}  // namespace

bool ZarnManager::CreateMissionObjects() {
    return BuildAll(parallelCollectMode_, collectorFactory_, kUnknownCollector,
                    parallelCollectors_) &&
           BuildAll(collectMode_, collectorFactory_, kUnknownCollector, collectors_) &&
           BuildAll(analyzeMode_, analyzerFactory_,
                    "[ZarnManager] Not a supported analyzer type: ") &&
           BuildAll(optimizeMode_, optimizerFactory_,
                    "[ZarnManager] Not a supported optimizer type: ") &&
           CreateComparators();
}

bool ZarnManager::CreateComparators() {
    if (compareMode_.empty()) {
        return true;
    }
    return ParseVersionMap() &&
           BuildAll(compareMode_, comparatorFactory_,
                    "[ZarnManager] Not a supported comparator type: ", versionDirs_);
}

bool ZarnManager::ParseVersionMap() {
    const JsonValue& versionMap = (*document_)["ManagerParam"]["compareMode"]["versionMap"];
    for (const auto& member : versionMap.GetObject()) {
        if (!TakeVersion(member.name, member.value, versionDirs_)) {
            return false;
        }
    }
    return true;
}

bool ZarnManager::CheckMissionOptions() {
    const bool parallelPassed = CheckAll(parallelCollectors_, *document_, "parallelCollector");
    const bool serialPassed = CheckAll(collectors_, *document_, "collector");
    const bool comparatorsPassed = CheckAll(comparators_, *document_, "comparator");
    return parallelPassed && serialPassed && comparatorsPassed;
}

}  // namespace zarn
