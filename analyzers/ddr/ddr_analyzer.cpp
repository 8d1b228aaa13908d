#include "analyzers/ddr/ddr_analyzer.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "analyzers/ddr/ddr_info_reader.h"
#include "analyzers/ddr/ddr_master_info.h"
#include "analyzers/ddr/ddr_results.h"
#include "analyzers/ddr/ddr_statistics.h"
#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"

namespace zarn {
namespace {

constexpr SectionWords kSectionWords = {
    "[DdrAnalyzer] Error occurs when parsing the ddr config: [DdrAnalyzer] Ddr analyzer param is "
    "missing! Correct: [job]",
    "[DdrAnalyzer] Error occurs when parsing the ddr config: [DdrAnalyzer] Invalid JOB type, which "
    "should be list!",
};
constexpr JobWords kJobWords = {
    "[DdrAnalyzer] Error occurs when parsing the ddr config: [DdrAnalyzer] The JOB cannot be "
    "empty!",
    "[DdrAnalyzer] Error occurs when parsing the ddr config: [DdrAnalyzer] Illegal item type of "
    "JOB! Items in JOB should be string!",
    "[DdrAnalyzer] Illegal job name: ",
    ", which should be 'global'.",
    "[DdrAnalyzer] Failed to SetJob!",
};

void RequireWritten(FileResult result, const std::string& path) {
    if (result != FileResult::Ok) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace

DdrAnalyzer::DdrAnalyzer(std::string name, const Host& /*host*/) : BasicAnalyzer(std::move(name)) {}

bool DdrAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                        const StopFlag* stopFlag) {
    const MissionCost cost;
    PrintLine("[DdrAnalyzer] DdrAnalyzer Start.");
    if (!ParseConfig(config)) {
        return PrintFailure("[DdrAnalyzer] Failed to parse ddr config!");
    }
    if (!InitPaths(dataPath)) {
        return PrintFailure("[DdrAnalyzer] Failed to initialize file path!");
    }
    if (!Process(stopFlag)) {
        return PrintFailure("[DdrAnalyzer] Failed to process ddr info!");
    }
    if (!Save()) {
        return PrintFailure("[DdrAnalyzer] Failed to save ddr info!");
    }
    PrintLine("[DdrAnalyzer] DdrAnalyzer Finished!");
    cost.Record(kName, dataPath);
    return true;
}

const SettingKeys& DdrAnalyzer::Keys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({"global"}, SettingKey::Outside::Refused)
            .Means("the only job"),
    };
    return keys;
}

bool DdrAnalyzer::ParseConfig(const JsonDocument& config) {
    const JsonValue* section = OpenSection(config, kName, Keys(), kSectionWords);
    return section != nullptr && ReadJobs((*section)["job"], {"global"}, kJobWords, jobs_);
}

bool DdrAnalyzer::InitPaths(const std::string& dataPath) {
    const std::vector<std::string> collections = ddr_files::kBandwidth.FindAll(dataPath);
    if (collections.size() != 1) {
        return PrintFailure("[DdrAnalyzer] only one ddr_info file should be existed.");
    }
    timeStamp_ = GetFileTimestamp(collections.front());
    ddrInfoPath_ = ddr_files::kBandwidth.Path(dataPath, timeStamp_);
    qosConfigPath_ = ddr_files::kQosSettings.Path(dataPath, timeStamp_);
    anaDataPath_ = ddr_files::kAnalysis.Path(dataPath, timeStamp_);
    anaCsvPath_ = ddr_files::kAnalysisTable.Path(dataPath, timeStamp_);
    return true;
}

bool DdrAnalyzer::Process(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure("[DdrAnalyzer] Failed to process ddr analyzer because of stopFlag!");
    }
    try {
        if (jobs_.empty() || !LoadQosSettings() || !LoadBandwidth()) {
            return PrintFailure("[DdrAnalyzer] Failed to load ddr collection info! ");
        }
        for (const std::string& name : ddrNameList) {
            AnalyzeMaster(ddrInfoMap[name]);
        }
    } catch (const std::exception& error) {
        PrintError(std::string("[DdrAnalyzer] Error occurs when analyzing ddr info: ") +
                   error.what());
        return PrintFailure("[DdrAnalyzer] Failed to analyzer ddr info! ");
    }
    PrintLine("[DdrAnalyzer] Successfully analyzer ddr info!");
    return true;
}

bool DdrAnalyzer::LoadQosSettings() const {
    LineFile file(qosConfigPath_);
    if (!file.IsOpen()) {
        return PrintFailure("[DdrAnalyzer] Failed to open the Qos config file - '" +
                            qosConfigPath_ + "'");
    }
    PrintLine("[DdrAnalyzer] Successfully load qos info from " + qosConfigPath_);
    return ReadQosSettings(LinesOf(file), ddrInfoMap);
}

bool DdrAnalyzer::LoadBandwidth() const {
    LineFile file(ddrInfoPath_);
    if (!file.IsOpen()) {
        return PrintFailure("[DdrAnalyzer] Failed to open the DDR info file - '" + ddrInfoPath_ +
                            "'");
    }
    PrintLine("[DdrAnalyzer] Successfully load ddr info from " + ddrInfoPath_);
    return ReadBandwidthShares(LinesOf(file), ddrInfoMap);
}

bool DdrAnalyzer::Save() {
    if (!SaveDocument()) {
        return PrintFailure("[DdrAnalyzer] Failed to save the ddr analysis file!");
    }
    PrintLine("[DdrAnalyzer] Successfully save ddr ana info to " + anaDataPath_);
    if (!SaveTable()) {
        return PrintFailure("[DdrAnalyzer] Failed to save the ddr using info!");
    }
    PrintLine("[DdrAnalyzer] Successfully save ddr using info to " + anaCsvPath_);
    return true;
}

bool DdrAnalyzer::SaveDocument() {
    try {
        EventWriter events;
        WriteAnalysisDocument(ddrInfoMap, timeStamp_, events);
        RequireWritten(AppendFile(anaDataPath_, events.Lines()), anaDataPath_);
        return true;
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[DdrAnalyzer] Error occurs when saving ddr ana info:") +
                            error.what());
    }
}

bool DdrAnalyzer::SaveTable() {
    if (!ResolvePath(GetDirectoryOfPath(anaCsvPath_))) {
        return PrintFailure("[DdrAnalyzer] Can't get real path");
    }
    try {
        RequireWritten(WriteFile(anaCsvPath_, AnalysisTable(ddrInfoMap)), anaCsvPath_);
        return true;
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[DdrAnalyzer] Error occurs when saving ddr using info: ") +
                            error.what());
    }
}

}  // namespace zarn
