#include "comparators/ddr/ddr_comparator.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "comparators/ddr/ddr_comparison_table.h"
#include "comparators/ddr/ddr_version_loader.h"
#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "kit/cost.h"

namespace zarn {
namespace {

constexpr SectionWords kSectionWords = {
    "[DdrComparator] Ddr comparator param is missing, which sholud contain JOB.",
    "[DdrComparator] Invalid JOB format, which should be list!",
};
constexpr JobWords kJobWords = {
    "[DdrComparator] The JOB cannot be empty! Please set job as 'global'!",
    "[DdrComparator] Illegal JOB type! Item in JOB should be string!",
    "[DdrComparator] Illegal job name: ",
    ", which should be 'global'.",
    "[DdrComparator] Failed to set JOB!",
};

}  // namespace

DdrComparator::DdrComparator(std::string name, std::map<std::string, std::string> versionMap,
                             const Host& /*host*/)
    : BasicComparator(std::move(name), std::move(versionMap)) {}

const SettingKeys& DdrComparator::Keys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({"global"}, SettingKey::Outside::Refused)
            .Means("the only job"),
    };
    return keys;
}

bool DdrComparator::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    const JsonValue* section = OpenSection(config, kName, Keys(), kSectionWords);
    return section != nullptr && ReadJobs((*section)["job"], {"global"}, kJobWords, jobs_);
}

bool DdrComparator::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    PrintLine("[DdrComparator] DdrComparator Start.");
    if (!InitPath(dataPath)) {
        return PrintFailure("[DdrComparator] Failed to initialize file path!");
    }
    if (!Compare(stopFlag)) {
        return PrintFailure(
            "[DdrComparator] Failed to compare the ddr using info between selected versions!");
    }
    if (!Save()) {
        return PrintFailure("[DdrComparator] Failed to save ddr comparison info!");
    }
    PrintLine("[DdrComparator] DdrComparator Finished!");
    cost.Record(kName, dataPath);
    return true;
}

bool DdrComparator::InitPath(const std::string& dataPath) {
    const std::string directory = dataPath + ddr_files::kCsvFolder;
    if (!CreateDirectory(directory)) {
        return PrintFailure("[DdrComparator] Failed to create ddr_comp_info dir");
    }
    const std::optional<std::string> realPath = ResolvePath(directory);
    if (!realPath) {
        return PrintFailure("[DdrComparator] Can't get real path");
    }
    compCsvPath_ = *realPath + "/" + ddr_files::kComparison;
    PrintLine("[DdrComparator] Successfully created " + *realPath);
    return true;
}

bool DdrComparator::Compare(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure(
            "[DdrComparator] Failed to process ddr comparator because of stopFlag!");
    }
    if (jobs_.empty()) {
        return PrintFailure(
            "[DdrComparator] Failed to start ddr DdrComparator, please set job as 'global' ! ");
    }
    try {
        for (const auto& [version, directory] : VersionMap()) {
            DdrVersionInfo& info = versions_[version];
            info.dirPath = directory;
            info.loaded = LoadDdrVersion(version, info);
            PrintLine("[DdrComparator] Finished loading data, the load state is " +
                      std::to_string(static_cast<int>(info.loaded)) +
                      "(1 for success and 0 for fail)");
        }
    } catch (const std::exception&) {  // memory that does not suffice for a version's files
        return PrintFailure("[DdrComparator] Failed to compare ddr using info! ");
    }
    PrintLine("[DdrComparator] Successfully compared the ddr using info!");
    return true;
}

bool DdrComparator::Save() const {
    try {
        if (WriteFile(compCsvPath_, DdrComparisonTable(versions_)) != FileResult::Ok) {
            throw std::runtime_error("cannot write " + compCsvPath_);
        }
    } catch (const std::exception& error) {
        PrintError(std::string("[DdrComparator] Error occurs when saving ddr comparison info: ") +
                   error.what());
        return PrintFailure("[DdrComparator] Failed to save the ddr comparison file!");
    }
    PrintLine("[DdrComparator] Successfully saved ddr comparison info to " + compCsvPath_);
    return true;
}

}  // namespace zarn
