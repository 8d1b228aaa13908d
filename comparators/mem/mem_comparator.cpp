#include "comparators/mem/mem_comparator.h"

#include <exception>
#include <functional>
#include <utility>

#include "comparators/mem/mem_version_loader.h"
#include "formats/mem.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "kit/cost.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSystemJob = "system_mem";
constexpr const char* kProcessJob = "process_mem";

constexpr SectionWords kSectionWords = {
    "[MemComparator] MemComparator param is missing!",
    "[MemComparator] Invalid MemComparator param type, [job] and [process] should be array!",
};
constexpr JobWords kJobWords = {
    nullptr,
    "[MemComparator]: Parameter in [job] should be String!",
    "[MemComparator]: Illegal job name: \"",
    "\"!",
    "[MemComparator]: Please correct choice job: [\"system_mem\", \"process_mem\"]",
};

// Memory that does not suffice for a version fails it, too.
bool Succeeds(const std::function<bool()>& load) {
    try {
        return load();
    } catch (const std::exception&) {
        return false;
    }
}

bool SaveTable(const std::string& path, const std::string& text) {
    const FileResult result = WriteFile(path, text);
    if (result == FileResult::CannotOpen) {
        PrintError("[MemComparator] Failed to open file " + path);
    }
    return result == FileResult::Ok;
}

}  // namespace

MemComparator::MemComparator(std::string name, std::map<std::string, std::string> versionMap,
                             const Host& /*host*/)
    : BasicComparator(std::move(name), std::move(versionMap)) {}

const SettingKeys& MemComparator::Keys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words({kSystemJob, kProcessJob}, SettingKey::Outside::Refused)
            .Means("what to compare: the system, the processes"),
        SettingKey::Required("process", JsonType::Array)
            .Of(JsonType::String)
            .Means("the processes, as `COMMAND` names them"),
    };
    return keys;
}

bool MemComparator::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    const JsonValue* section = OpenSection(config, kName, Keys(), kSectionWords);
    return section != nullptr &&
           ReadStrings((*section)["process"],
                       "[MemComparator] Parameter in [process] should be String!", processes_) &&
           ReadJobs((*section)["job"], {kSystemJob, kProcessJob}, kJobWords, jobs_);
}

bool MemComparator::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    const std::string directory = dataPath + mem_files::kCsvFolder + "/";
    if (!CreateDirectory(directory)) {
        return false;
    }
    Load(stopFlag);
    if (!Save(directory)) {
        return false;
    }
    cost.Record(kName, dataPath);
    return true;
}

// A version that is not read for a stop stays empty, as one that cannot be read.
void MemComparator::Load(const StopFlag* stopFlag) {
    for (const auto& [version, root] : VersionMap()) {
        versions_[version];
    }
    for (const auto& [version, root] : VersionMap()) {
        LoadVersion(version, root);
        if (IsSet(stopFlag)) {
            PrintLine("[MemComparator] Stop compare data, please wait for saving data.");
            return;
        }
    }
}

void MemComparator::LoadVersion(const std::string& version, const std::string& root) {
    MemVersionInfo& info = versions_[version];
    if (Wants(kSystemJob) && !Succeeds([&] { return LoadMemSystem(root, info); })) {
        PrintError("[MemComparator] Failed to compare [" + version + "] system mem data!");
    }
    if (Wants(kProcessJob) && !Succeeds([&] { return LoadMemProcesses(root, processes_, info); })) {
        PrintError("[MemComparator] Failed to compare [" + version + "] process mem data!");
    }
}

// One table is written whatever becomes of the other.
bool MemComparator::Save(const std::string& directory) const {
    const bool system =
        !Wants(kSystemJob) ||
        SaveTable(directory + mem_files::kSystemComparison, MemSystemTable(versions_)) ||
        PrintFailure("[MemComparator] Failed to save system comparison data.");
    const bool processes = !Wants(kProcessJob) ||
                           SaveTable(directory + mem_files::kProcessComparison,
                                     MemProcessTable(versions_, processes_)) ||
                           PrintFailure("[MemComparator] Failed to save process comparison data.");
    return system && processes;
}

}  // namespace zarn
