#include "collectors/system/ddr/ddr_collector.h"

#include <chrono>
#include <utility>
#include <vector>

#include "collectors/system/ddr/ddr_bandwidth_parser.h"
#include "collectors/system/ddr/ddr_documents.h"
#include "collectors/system/ddr/qos_access.h"
#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"
#include "kit/sampling.h"

namespace zarn {
namespace {

constexpr std::uint32_t kMonitorSampling = 10000;
constexpr std::chrono::microseconds kMonitorSettles{20000};

// The moment of the next sample whose document is due; empty if the log holds more samples than
// were taken.
std::string TakeSampleTime() {
    if (ddrTimeStampQueue.empty()) {
        return "";
    }
    std::string time = std::move(ddrTimeStampQueue.front());
    ddrTimeStampQueue.pop();
    return time;
}

void SaveBandwidth(const std::vector<BandwidthRow>& rows, const std::string& path) {
    // A log without whole samples has a result too, an empty one.
    (void)AppendFile(path, "");
    const std::size_t groupSize = mpamNameMap.size();
    if (rows.size() % groupSize != 0) {
        return;  // a torn sample must not shift the columns
    }
    EventWriter events;
    for (std::size_t first = 0; first < rows.size(); first += groupSize) {
        WriteBandwidthDocument(rows, first, groupSize, TakeSampleTime(), events);
        events.Save(path);
    }
}

}  // namespace

std::queue<std::string> ddrTimeStampQueue;
std::string ddrReadCommand;

DdrCollector::DdrCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool DdrCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadDdrSettings(config, settings_);
}

bool DdrCollector::Start(const JsonDocument& /*config*/, const std::string& runDirectory,
                         const StopFlag* stopFlag) {
    const MissionCost cost;
    if (!InitOutputFile(runDirectory)) {
        return PrintFailure("[DdrCollector] Failed to init output file!");
    }
    if (!InitQosConfig()) {
        return PrintFailure("[DdrCollector] Failed to init qos config!");
    }
    if (!CollectDdrInfo(stopFlag)) {
        return PrintFailure("[DdrCollector] Failed to process ddr info!");
    }
    if (!OutputDdrInfo()) {
        return PrintFailure("[DdrCollector] Failed to output ddr info!");
    }
    cost.Record(kName, runDirectory);
    return true;
}

bool DdrCollector::InitOutputFile(const std::string& runDirectory) {
    const std::string rawDir = runDirectory + ddr_files::kRawFolder;
    if (!CreateDirectory(rawDir)) {
        return false;
    }
    PrintLine("[DdrCollector] Create ddr rawdata directory successfully! The output dir is " +
              rawDir);
    if (!host_.clock.currentTime(timeStamp_)) {
        return PrintFailure("[DdrCollector] Failed to get curr timeStamp!");
    }
    rawLogPath_ = ddr_files::kBandwidthLog.Path(runDirectory, timeStamp_);
    dataPath_ = ddr_files::kBandwidth.Path(runDirectory, timeStamp_);
    qosConfigPath_ = ddr_files::kQosSettings.Path(runDirectory, timeStamp_);
    return true;
}

bool DdrCollector::InitQosConfig() {
    std::vector<QosConfig> heldConfigs;
    for (const QosConfig& defaults : defaultQosConfigs) {
        QosConfig held = defaults;
        if (!ConfigureMaster(defaults, held)) {
            return false;
        }
        heldConfigs.push_back(std::move(held));
    }
    EventWriter events;
    for (const QosConfig& held : heldConfigs) {
        WriteQosDocument(held, timeStamp_, events);
        events.Save(qosConfigPath_);
    }
    if (!SetMbwu(mbwuMpamIds, kMonitorSampling, host_.device)) {
        return PrintFailure("[DdrCollector] Failed to enable bandwidth monitoring.");
    }
    host_.clock.pause(kMonitorSettles);
    return true;
}

// Gives the master `defaults` if it was never configured; `held`, at the call a copy of them,
// becomes what the device holds. Reads that fail leave the defaults in it and do not count.
bool DdrCollector::ConfigureMaster(const QosConfig& defaults, QosConfig& held) {
    const bool hasMaster = defaults.master != kNoMaster;
    GetMataConfig(held, host_.device);
    if (held.bw_high != kNeverConfigured) {
        if (hasMaster) {
            CheckMasterConfig(held, host_.device);
        }
        return true;
    }
    PrintLine("[DdrCollector] " + defaults.mpam_name +
              " has not yet set Qos conf, using default settings. ");
    if (hasMaster &&
        (!SetMasterConfig(defaults.master, defaults.mpamid, defaults.priority, host_.device) ||
         !CheckMasterConfig(held, host_.device))) {
        return PrintFailure("[DdrCollector] Failed to set qos MasterConfig with default settings!");
    }
    if (!SetMataConfig(defaults.mpamid, defaults.bw_high, defaults.bw_low, defaults.hardlimit,
                       host_.device) ||
        !GetMataConfig(held, host_.device)) {
        return PrintFailure("[DdrCollector] Failed to set qos MataConfig with default settings!");
    }
    return true;
}

bool DdrCollector::CollectDdrInfo(const StopFlag* stopFlag) {
    return TakeSamples({settings_.count, settings_.interval}, stopFlag, host_.clock,
                       [this] { return settings_.globalJob && TakeSample(); });
}

// Appends the moment and the kernel's table to the raw log.
bool DdrCollector::TakeSample() {
    std::string time;
    if (!host_.clock.currentTime(time)) {
        return PrintFailure("[DdrCollector] Failed to get curr timeStamp!");
    }
    ddrTimeStampQueue.push(time);
    bool saved = host_.runner.Run("echo " + time + " >> " + rawLogPath_) == 0;
    if (saved) {
        if (ddrReadCommand.empty()) {
            ddrReadCommand = "cat /proc/qos/bwstat/bandwidth >> " + rawLogPath_;
        }
        saved = host_.runner.Run(ddrReadCommand) == 0;
    }
    if (!saved) {
        PrintError("[DdrCollector] Fail to CollectDdrInfo!");
    }
    return saved;
}

bool DdrCollector::OutputDdrInfo() {
    std::string log;
    if (ReadFile(rawLogPath_, log) == FileResult::CannotOpen) {
        return PrintFailure("[DdrCollector] Cannot find ddr rawData file, check your config.");
    }
    const std::vector<BandwidthRow> rows = ParseBandwidthLog(log, mpamNameMap.size() - 1);
    std::uint32_t ddrType = 0;
    if (!GetDdrType(&ddrType, host_.device)) {
        PrintError("[DdrCollector] Cannot get ddr type.");
        return true;  // without a result, as designed
    }
    SaveBandwidth(rows, dataPath_);
    return true;
}

}  // namespace zarn
