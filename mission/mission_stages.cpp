// The stages. The stop flag does not stop them: each mission is started and returns by its own
// rules.

#include <filesystem>
#include <stdexcept>
#include <thread>

#include "formats/run_tree.h"
#include "foundation/console.h"
#include "kit/event_writer.h"
#include "kit/section.h"
#include "mission/interrupt.h"
#include "mission/zarn_manager.h"

namespace zarn {
namespace {

// What stands before a mission's name in the lines of a stage.
struct StageWords {
    const char* onStart;
    const char* onFailure;
};

void PrintStart(const char* words, const std::string& name) {
    PrintLine(words + name + " start ...");
}

// Runs the missions one after the other; a failure is told and remembered, and the next one runs.
template <class Mission>
bool RunAll(const MissionList<Mission>& missions, const JsonDocument& config,
            const std::string& dataPath, const StageWords& words) {
    bool allSucceeded = true;
    for (const auto& mission : missions) {
        PrintStart(words.onStart, mission->Name());
        if (!mission->Start(config, dataPath, &ProcessStopFlag())) {
            PrintError(words.onFailure + mission->Name() + " failed!");
            allSucceeded = false;
        }
    }
    return allSucceeded;
}

}  // namespace

bool ZarnManager::RunCollectors() {
    if (parallelCollectors_.IsEmpty() && collectors_.IsEmpty()) {
        return true;
    }
    std::string start;
    if (!seams_.host.clock.currentTime(start)) {
        return PrintFailure("[ZarnManager] Failed to get startCollector time stamp!");
    }
    RunParallelCollectors();
    const bool serialSucceeded =
        RunAll(collectors_, *document_, dataPath_,
               {"[ZarnManager] collector mode ", "[ZarnManager] collector mode "});
    std::string end;
    if (!seams_.host.clock.currentTime(end)) {
        return PrintFailure("[ZarnManager] Failed to get end Collector time stamp!");
    }
    SaveCollectorTimestamp(start, end);
    return serialSucceeded;
}

void ZarnManager::RunParallelCollectors() {
    std::vector<std::thread> threads;
    threads.reserve(parallelCollectors_.Size());
    for (const auto& collector : parallelCollectors_) {
        PrintStart("[ZarnManager] parallelCollector mode ", collector->Name());
        // Only the collector's own lines tell of its failure.
        threads.emplace_back([this, mission = collector.get()] {
            (void)mission->Start(*document_, dataPath_, &ProcessStopFlag());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

bool ZarnManager::SaveCollectorTimestamp(const std::string& start, const std::string& end) const {
    const std::string jsonDir = dataPath_ + run_tree::kJsonDir;
    std::error_code ignored;
    if (!std::filesystem::exists(jsonDir, ignored)) {
        return PrintFailure("[ZarnManager] The jsonDir does not exist! " + jsonDir);
    }
    JsonDocument times;
    times.SetObject();
    AddJsonString("startCollectorTime", start, times);
    AddJsonString("endCollectorTime", end, times);
    SaveJsonToFile(jsonDir + run_tree::kCollectorTimes, times);
    return true;
}

bool ZarnManager::GetHistoryDataPath() {
    const bool usesOwnData = !collectors_.IsEmpty() || !parallelCollectors_.IsEmpty();
    if (usesOwnData || analyzers_.IsEmpty()) {
        return true;
    }
    try {
        const JsonValue* path = FindMember((*document_)["ManagerParam"], "historyDataPath");
        if (path == nullptr) {
            return PrintFailure("[ZarnManager] historyDataPath param not exist!");
        }
        if (!path->IsString()) {
            throw std::invalid_argument("Invalid mission type");
        }
        const std::string historyPath = path->GetString();
        if (!seams_.readable(historyPath) || !seams_.writable(historyPath)) {
            return PrintFailure("[ZarnManager] The input historyDataPath [" + historyPath +
                                "] is invalid!");
        }
        PrintLine("[ZarnManager] The historyDataPath is " + historyPath);
        dataPath_ = historyPath;
        return true;
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[ZarnManager] Error occurs: ") + error.what());
    }
}

bool ZarnManager::RunAnalyzers() {
    if (!GetHistoryDataPath()) {
        return PrintFailure("[ZarnManager] get history data path failed!");
    }
    return RunAll(analyzers_, *document_, dataPath_,
                  {"[ZarnManager] analyzers mode ", "[ZarnManager] analyzers mode "});
}

bool ZarnManager::RunOptimizers() {
    if (!GetHistoryDataPath()) {
        PrintLine("[ZarnManager] get history data path failed!");
        return false;
    }
    return RunAll(optimizers_, *document_, dataPath_,
                  {"[ZarnManager] optimizers mode ", "[ZarnManager] optimizers mode "});
}

bool ZarnManager::RunComparators() {
    return RunAll(comparators_, *document_, dataPath_,
                  {"[ZarnManager] comparator mode ", "[ZarnManager] comparators mode "});
}

}  // namespace zarn
