#include "comparators/ddr/ddr_version_loader.h"

#include <optional>
#include <vector>

#include "comparators/ddr/ddr_version_reader.h"
#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "kit/event_reader.h"

namespace zarn {
namespace {

// The one such file of the version; nothing, after a line, if there is not exactly one.
std::optional<std::string> FindOnly(const DdrVersionInfo& info, const NumberedFile& file) {
    const std::vector<std::string> paths = file.FindAll(info.dirPath);
    if (paths.size() == 1) {
        return paths.front();
    }
    const std::string prefix = file.prefix;
    const std::string directory = info.dirPath + file.folder;
    if (paths.empty()) {
        PrintError("[DdrComparator] Warning! Failed to find " + prefix + "YYMMDDMMSS.data in " +
                   directory);
    } else {
        PrintError("[DdrComparator] Only one " + prefix + "YYMMDDMMSS.data should be existed in " +
                   directory);
    }
    return std::nullopt;
}

bool LoadLimits(const std::string& path, DdrVersionInfo& info) {
    LineFile file(path);
    if (!file.IsOpen()) {
        return PrintFailure("[DdrComparator] Failed to open the qos config file " + path);
    }
    PrintLine("[DdrComparator] Successfully loaded qos config info from " + path);
    return ReadVersionLimits(LinesOf(file), info);
}

bool LoadAnalysis(const std::string& path, DdrVersionInfo& info) {
    LineFile file(path);
    if (!file.IsOpen()) {
        return PrintFailure("[DdrComparator] Failed to open the ddr_ana_info file - '" + path +
                            "'");
    }
    PrintLine("[DdrComparator] Successfully loaded ddr ana info from " + path);
    return ReadVersionAnalysis(LinesOf(file), info);
}

bool LoadShares(const std::string& path, std::vector<std::vector<double>>& values) {
    LineFile file(path);
    if (!file.IsOpen()) {
        return PrintFailure("[DdrComparator] Failed to open the ddr info file - '" + path + "'");
    }
    PrintLine("[DdrComparator] Successfully loaded ddr coll info from " + path);
    return ReadVersionShares(LinesOf(file), values);
}

// Computes the usage from what the collector left.
bool AnalyzeCollection(DdrVersionInfo& info) {
    const std::optional<std::string> path = FindOnly(info, ddr_files::kBandwidth);
    if (!path) {
        return PrintFailure("[DdrComparator] Failed to get ddr coll file!");
    }
    std::vector<std::vector<double>> values;
    if (!LoadShares(*path, values)) {
        return PrintFailure("[DdrComparator] Failed to load ddr coll info!");
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::string& name = ddrCompNameList[i];
        const std::uint32_t bwHigh = name == kDdrTotal ? 0 : info.bwLimits[name].bwHigh;
        info.bwUsage[name] = ComputeUsage(values[i], bwHigh);
    }
    PrintLine("[DdrComparator] Successfully analyzed ddr info! ");
    return true;
}

}  // namespace

bool LoadDdrVersion(const std::string& version, DdrVersionInfo& info) {
    const std::optional<std::string> qosPath = FindOnly(info, ddr_files::kQosSettings);
    if (!qosPath) {
        return PrintFailure("[DdrComparator] Warning! Failed to find qos config file for " +
                            version);
    }
    if (!LoadLimits(*qosPath, info)) {
        return PrintFailure("[DdrComparator] Warning! Failed to load qos conf info from " +
                            *qosPath);
    }
    const std::optional<std::string> analysisPath = FindOnly(info, ddr_files::kAnalysis);
    if (analysisPath) {
        if (!LoadAnalysis(*analysisPath, info)) {
            return PrintFailure("[DdrComparator] Warning! Failed to load ddr ana info from " +
                                *analysisPath);
        }
    } else {
        PrintError("[DdrComparator] Warning! Failed to find ddr ana file for " + version);
        PrintLine("[DdrComparator] Start to analyze ddr using info' ... ");
        if (!AnalyzeCollection(info)) {
            return PrintFailure("[DdrComparator] Warning! Failed to analyze ddr using info! ");
        }
    }
    PrintLine("[DdrComparator] Successfully loaded ddr ana info for " + version);
    return true;
}

}  // namespace zarn
