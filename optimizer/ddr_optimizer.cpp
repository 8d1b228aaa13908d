#include "optimizer/ddr_optimizer.h"

#include <utility>

#include "formats/ddr.h"
#include "foundation/command_runner.h"
#include "foundation/console.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"
#include "optimizer/benchmark/stress_benchmark.h"
#include "optimizer/options/optimizer_options.h"
#include "optimizer/search/pso_search.h"

namespace zarn {
namespace {

constexpr std::uint32_t kUnsetHighBound = 200;

// The board itself: its device and its benchmark.
class RealStressBoard final : public StressBoard {
public:
    RealStressBoard(const Host& host, const std::string& stressLogPath)
        : host_(host), stressLogPath_(stressLogPath) {}

    bool Apply(const std::vector<QosConfig>& configs) override {
        return ApplyQosConfigs(configs, host_.device);
    }

    bool RunBenchmark(PerfMap& perf) override {
        return RunStressBenchmark(stressLogPath_, perf, host_.runner);
    }

private:
    const Host& host_;
    const std::string& stressLogPath_;
};

}  // namespace

DdrOptimizer::DdrOptimizer(std::string name, Host host, RandomSource& random)
    : BasicOptimizer(std::move(name)), host_(std::move(host)), random_(random) {}

bool DdrOptimizer::Start(const JsonDocument& config, const std::string& dataPath,
                         const StopFlag* stopFlag) {
    const MissionCost cost;
    PrintLine("[DdrOptimizer] DdrOptimizer Start.");
    if (!InitFilePath(dataPath)) {
        return PrintFailure("[DdrOptimizer] Failed to init file path!");
    }
    if (!InitQosConfig(optimizerQosConfigs)) {
        // The same words as above, though it is the device that failed: they are known so.
        return PrintFailure("[DdrOptimizer] Failed to init file path!");
    }
    if (!CheckOptions(config)) {
        return PrintFailure("[DdrOptimizer] Failed to parse qos config!");
    }
    if (!UpdateQosConfig(stopFlag)) {
        return PrintFailure("[DdrOptimizer] Failed to update qos config!");
    }
    PrintLine("[DdrOptimizer] Successfully set new qos conf! DdrOptimizer finished!");
    cost.Record(kName, dataPath);
    return true;
}

bool DdrOptimizer::CheckOptions(const JsonDocument& config) {
    return ReadOptimizerOptions(config, settings_);
}

bool DdrOptimizer::InitFilePath(const std::string& dataPath) {
    if (!CreateDirectory(dataPath + ddr_files::kRawFolder)) {
        return false;
    }
    std::string timeStamp;
    if (!GetCurrentTimeString(timeStamp)) {
        return PrintFailure("[DdrOptimizer] Failed to get curr timeStamp!");
    }
    optLogPath_ = ddr_files::kOptimizerLog.Path(dataPath, timeStamp);
    stressLogPath_ = ddr_files::kStressLog.Path(dataPath, timeStamp);
    return true;
}

bool DdrOptimizer::InitQosConfig(const std::vector<QosConfig>& rows) {
    PrintLine("[DdrOptimizer] Start to init qos Config. ");
    for (const QosConfig& row : rows) {
        QosConfig held;
        held.mpam_name = row.mpam_name;
        held.bw_high = kUnsetHighBound;
        held.master = row.master;
        if (!ReadOrSetQosConfig(row, held)) {
            return false;
        }
        initQosConfigs_.push_back(held);
    }
    return true;
}

bool DdrOptimizer::ReadOrSetQosConfig(const QosConfig& row, QosConfig& held) {
    if (!CheckMasterConfig(held, host_.device)) {
        return PrintFailure("[DdrOptimizer] Failed to get init qos mpamid!");
    }
    if (!GetMataConfig(held, host_.device)) {
        return PrintFailure("[DdrOptimizer] Failed to get init qos conf!");
    }
    if (held.bw_high != kNeverConfigured) {
        return true;
    }
    PrintLine("[DdrOptimizer] Sys has not yet set Qos conf, using default settings. ");
    return SetDefault(row, held) ||
           PrintFailure("[DdrOptimizer] Failed to set qos with default settings!");
}

bool DdrOptimizer::SetDefault(const QosConfig& row, QosConfig& held) {
    return SetMasterConfig(row.master, row.mpamid, row.priority, host_.device) &&
           CheckMasterConfig(held, host_.device) &&
           SetMataConfig(row.mpamid, row.bw_high, row.bw_low, row.hardlimit, host_.device) &&
           GetMataConfig(held, host_.device);
}

bool DdrOptimizer::UpdateQosConfig(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure("[DdrOptimizer] Failed to process ddr optimizer because of stopFlag!");
    }
    if (settings_.mode == "manual") {
        return ApplyQosConfigs(settings_.manualQosConfigs, host_.device);
    }
    if (settings_.mode == "auto") {
        return RunPso(stopFlag);
    }
    return true;
}

bool DdrOptimizer::RunPso(const StopFlag* stopFlag) {
    RealStressBoard board(host_, stressLogPath_);
    const OptLog log(optLogPath_);
    return PsoSearch(settings_.psoState, {board, log, random_, stopFlag}).RunPso();
}

}  // namespace zarn
