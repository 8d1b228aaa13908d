#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "foundation/paths.h"
#include "kit/host.h"
#include "mission/factory_tables.h"

namespace zarn {

// The directory under which every run makes its own; ends in a slash.
[[nodiscard]] const std::string& RootOfRuns();

// What the manager meets outside itself. The defaults are the real things; tests replace them.
struct ManagerSeams {
    const MissionClasses& missions = BuiltInMissions();
    Host host = {};  // the manager's own, and that of its missions
    // The rule for paths that a user gives.
    std::function<bool(const std::string&)> readable = CheckFileReadable;
    std::function<bool(const std::string&)> writable = CheckFileWritable;
    std::string rootOfRuns = RootOfRuns();
    // Version files of the platform that are kept with each run.
    std::vector<std::string> versionFiles = {"/etc/qvt_version", "/etc/orlo-latest",
                                             "/etc/sys_version_tepa.conf"};
    std::function<bool(const std::string&)> createDirectory = CreateDirectory;
};

// A whole run: takes the configuration in, makes the run directory, builds the missions by name and
// runs them in stages (collectors, analyzers, optimizers, comparators), each only if the one before
// succeeded. Owns the parsed configuration and all missions until it is destroyed. One run per
// object; only RunCollectors uses other threads, and joins them.
//
// Every private step returns true for success; on failure it has printed its line.
class ZarnManager {
public:
    // Fills the factory tables; does no input or output.
    explicit ZarnManager(std::string configFile, ManagerSeams seams = {});

    // The tables capture the object.
    ZarnManager(const ZarnManager&) = delete;
    ZarnManager& operator=(const ZarnManager&) = delete;

    // Runs everything; 1 if all of it succeeded, else 0.
    int Start();

private:
    void FillFactoryTables(const MissionClasses& missions);

    // config_intake.cpp
    [[nodiscard]] bool LoadConfig();
    [[nodiscard]] bool CheckConfigHazard();
    [[nodiscard]] bool ParseMissionType();
    [[nodiscard]] bool CheckMissionParam() const;
    [[nodiscard]] bool CheckCompareMode() const;
    bool ReadModeList(const char* key, std::vector<std::string>& list) const;

    // run_workspace.cpp
    [[nodiscard]] bool HandlePublicAffairs();
    [[nodiscard]] bool CreateDataDirectory();
    [[nodiscard]] bool SaveConfigFile() const;
    [[nodiscard]] bool SaveEnvironmentFiles() const;
    void SaveToolVersion() const;

    // mission_objects.cpp
    [[nodiscard]] bool CreateMissionObjects();
    [[nodiscard]] bool CreateComparators();
    [[nodiscard]] bool ParseVersionMap();
    [[nodiscard]] bool CheckMissionOptions();

    // mission_stages.cpp
    [[nodiscard]] bool RunCollectors();
    void RunParallelCollectors();
    bool SaveCollectorTimestamp(const std::string& start, const std::string& end) const;
    [[nodiscard]] bool RunAnalyzers();
    [[nodiscard]] bool RunOptimizers();
    [[nodiscard]] bool RunComparators();
    [[nodiscard]] bool GetHistoryDataPath();

    ManagerSeams seams_;

    // Released in the reverse of this order.
    std::unique_ptr<JsonDocument> document_;  // empty until LoadConfig; read-only afterwards
    std::string configFile_;
    std::string dataPath_;  // final slash; the history path may take its place before the analyzers
    std::string envDir_;    // no final slash
    std::vector<std::string> parallelCollectMode_;
    std::vector<std::string> collectMode_;
    std::vector<std::string> analyzeMode_;
    std::vector<std::string> optimizeMode_;
    std::vector<std::string> compareMode_;
    MissionList<BasicCollector> parallelCollectors_;
    MissionList<BasicCollector> collectors_;
    MissionList<BasicAnalyzer> analyzers_;
    MissionList<BasicOptimizer> optimizers_;
    MissionList<BasicComparator> comparators_;
    VersionMap versionDirs_;
    CollectorFactory collectorFactory_;
    AnalyzerFactory analyzerFactory_;
    OptimizerFactory optimizerFactory_;
    ComparatorFactory comparatorFactory_;
};

}  // namespace zarn
