// The run's own directory, and the record of what the run was made with.

#include <filesystem>

#include "formats/run_tree.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "mission/zarn_manager.h"

namespace zarn {
namespace {

constexpr const char* kToolVersionCommand = "rungate qvt-tool upgrade display version > ";

bool Exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

// Throws, which ends the process, if the copy fails: a run that cannot keep its configuration for
// lack of space could keep no results either.
void Copy(const std::string& from, const std::string& to) {
    std::filesystem::copy(from, to, std::filesystem::copy_options::overwrite_existing);
}

bool EnvDirExists(const std::string& envDir) {
    if (!Exists(envDir)) {
        return PrintFailure("[ZarnManager] The envDir does not exist! " + envDir);
    }
    return true;
}

}  // namespace

const std::string& RootOfRuns() {
    static const std::string root = run_tree::kRoot;
    return root;
}

bool ZarnManager::HandlePublicAffairs() {
    if (collectMode_.empty() && parallelCollectMode_.empty()) {
        PrintLine(
            "[ZarnManager] collectMode & parallelCollectMode empty, using historyDataPath "
            "instead!");
    }
    if (!CreateDataDirectory()) {
        return PrintFailure("[ZarnManager] Output directory not exist!");
    }
    if (!SaveConfigFile()) {
        PrintLine("[ZarnManager] Warning: Failed to save config file to output directory!");
    }
    if (!SaveEnvironmentFiles()) {
        PrintLine("[ZarnManager] Warning: Failed to save environment file to output directory!");
    }
    return true;
}

bool ZarnManager::CreateDataDirectory() {
    std::string time;
    if (!seams_.host.clock.currentTime(time)) {
        return PrintFailure("[ZarnManager] Failed to get time stamp!");
    }
    dataPath_ = seams_.rootOfRuns + run_tree::kRunPrefix + time + "/";
    envDir_ = dataPath_ + run_tree::kEnvInfo;
    // Told on the error stream, like all lines about the workspace.
    const auto make = [this](const char* words, const std::string& path) {
        const bool made = seams_.createDirectory(path);
        if (made) {
            PrintError(words + path);
        }
        return made;
    };
    return make("[ZarnManager] Create env info directory successfully: ", envDir_) &&
           make("[ZarnManager] Create raw data directory successfully: ",
                dataPath_ + run_tree::kRawData) &&
           make("[ZarnManager] Create json directory successfully: ",
                dataPath_ + run_tree::kJson) &&
           make("[ZarnManager] Create csv directory successfully: ", dataPath_ + run_tree::kCsv);
}

bool ZarnManager::SaveConfigFile() const {
    if (!EnvDirExists(envDir_)) {
        return false;
    }
    if (!Exists(configFile_)) {
        return PrintFailure("[ZarnManager] The configFile does not exist! " + configFile_);
    }
    Copy(configFile_, envDir_ + run_tree::kConfigCopy);
    return true;
}

bool ZarnManager::SaveEnvironmentFiles() const {
    if (!EnvDirExists(envDir_)) {
        return false;
    }
    SaveToolVersion();
    for (const std::string& file : seams_.versionFiles) {
        if (Exists(file)) {
            Copy(file, envDir_ + file.substr(file.rfind('/')));
        } else {
            PrintError("[ZarnManager] The env file " + file + " does not exist! ");
        }
    }
    return true;
}

void ZarnManager::SaveToolVersion() const {
    const std::string output = envDir_ + run_tree::kToolVersion;
    if (seams_.host.runner.Run(kToolVersionCommand + output) != 0) {
        PrintError("[ZarnManager] Fail to execute: rungate qvt-tool upgrade display version");
    }
    if (!Exists(output)) {
        PrintError("[ZarnManager] The qvt_tool_upgrade_display_version file " + output +
                   " does not exist! ");
    }
}

}  // namespace zarn
