#include "mission/zarn_manager.h"

#include <array>
#include <utility>

#include "foundation/console.h"
#include "mission/interrupt.h"

namespace zarn {

ZarnManager::ZarnManager(std::string configFile, ManagerSeams seams)
    : seams_(std::move(seams)), configFile_(std::move(configFile)) {
    FillFactoryTables(seams_.missions);
}

void ZarnManager::FillFactoryTables(const MissionClasses& missions) {
    for (const CollectorClass& row : missions.collectors) {
        collectorFactory_.emplace(
            row.name,
            [this, make = row.make](const std::string& name, MissionList<BasicCollector>& list) {
                list.Append(make(name, seams_.host));
            });
    }
    for (const AnalyzerClass& row : missions.analyzers) {
        analyzerFactory_.emplace(row.name, [this, make = row.make](const std::string& name) {
            analyzers_.Append(make(name, seams_.host));
        });
    }
    for (const OptimizerClass& row : missions.optimizers) {
        optimizerFactory_.emplace(row.name, [this, make = row.make](const std::string& name) {
            optimizers_.Append(make(name, seams_.host));
        });
    }
    for (const ComparatorClass& row : missions.comparators) {
        comparatorFactory_.emplace(
            row.name, [this, make = row.make](const std::string& name, const VersionMap& versions) {
                comparators_.Append(make(name, versions, seams_.host));
            });
    }
}

int ZarnManager::Start() {
    struct Step {
        bool (ZarnManager::*run)();
        const char* lineOnFailure;
    };
    static constexpr std::array<Step, 10> kSteps{{
        {&ZarnManager::LoadConfig, "[ZarnManager] Failed to load json config file!"},
        {&ZarnManager::CheckConfigHazard,
         "[ZarnManager] Potential command injection risk! Please check config file!"},
        {&ZarnManager::ParseMissionType, "[ZarnManager] Failed to parse mission type!"},
        {&ZarnManager::HandlePublicAffairs, "[ZarnManager] Failed to handle public affairs!"},
        {&ZarnManager::CreateMissionObjects, "[ZarnManager] Failed to create mission object!"},
        {&ZarnManager::CheckMissionOptions,
         "[ZarnManager] Some illegal config settings found, failed to start !"},
        {&ZarnManager::RunCollectors, "[ZarnManager] Some Collector missions failed to start!"},
        {&ZarnManager::RunAnalyzers, "[ZarnManager] Some Analyzer missions failed to start!"},
        {&ZarnManager::RunOptimizers, "[ZarnManager] Some Optimizer missions failed to start!"},
        {&ZarnManager::RunComparators, "[ZarnManager] Some Comparator missions failed to start!"},
    }};
    InstallInterruptHandler();
    for (const Step& step : kSteps) {
        if (!(this->*step.run)()) {
            PrintError(step.lineOnFailure);
            return 0;
        }
    }
    return 1;
}

}  // namespace zarn
