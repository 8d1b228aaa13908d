#include "collectors/device/ai_core/ai_core_collector.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "formats/ai_core.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"
#include "kit/sampling.h"

namespace zarn {
namespace {

constexpr std::uint32_t kDevice = 0;  // the one that is measured
constexpr int kMaxDevices = 16;

// The use of the AI cores, a byte a core.
constexpr std::uint32_t kAiBlock = 11;
constexpr std::uint32_t kCoreUsage = 0;

// A line about a call, with the library's code.
bool PrintCode(const char* words, int code) {
    return PrintFailure(words + std::to_string(code));
}

}  // namespace

AiCoreCollector::AiCoreCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool AiCoreCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadAiCoreSettings(config, settings_);
}

bool AiCoreCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                            const StopFlag* stopFlag) {
    const MissionCost cost;
    if (!CreateDirectory(dataPath + ai_core_files::kRawDir)) {
        return PrintFailure("[AiCoreCollector] Cannot create aicore collect directory!");
    }
    if (settings_.usageJob) {
        if (!Sample(stopFlag)) {
            return PrintFailure("[AiCoreCollector] Failed to process aicore info!");
        }
        if (!Save(dataPath)) {
            return PrintFailure("[AiCoreCollector] Failed to save aicore json!");
        }
    }
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

bool AiCoreCollector::Sample(const StopFlag* stopFlag) {
    if (!host_.clock.currentTime(collectTime_)) {
        return PrintFailure("[AiCoreCollector] Get collect time failed.");
    }
    return FindDevice() && TakeSamples({settings_.count, settings_.interval}, stopFlag, host_.clock,
                                       [this] { return TakeSample(); });
}

// Without devices the list is asked all the same, and lacks the one that is measured.
bool AiCoreCollector::FindDevice() {
    int count = 0;
    int code = host_.device.GetCount(&count);
    if (code != 0 || count < 0 || count > kMaxDevices) {
        return PrintCode("[AiCoreCollector] Get device count failed, code: ", code);
    }
    std::array<int, kMaxDevices> ids{};
    code = host_.device.List(ids.data(), count);
    if (code != 0) {
        return PrintCode("[AiCoreCollector] Get device list failed, code: ", code);
    }
    const auto end = ids.cbegin() + count;
    if (std::find(ids.cbegin(), end, static_cast<int>(kDevice)) == end) {
        PrintError("[AiCoreCollector] Find device id in list failed.");
        return PrintFailure("[AiCoreCollector] Get device info failed.");
    }
    return true;
}

bool AiCoreCollector::TakeSample() {
    AiCoreSample sample;
    std::uint32_t size = kMaxAiCores;
    const int code =
        host_.device.GetInfo(kDevice, kAiBlock, kCoreUsage, sample.usage.data(), &size);
    if (code != 0) {
        return PrintCode("[AiCoreCollector] Get aicore usage rate failed, code: ", code);
    }
    sample.coreCount = std::min<std::uint32_t>(size, kMaxAiCores);
    if (!host_.clock.currentTime(sample.time)) {
        return PrintFailure("[AiCoreCollector] Get collect time failed.");
    }
    samples_.push_back(std::move(sample));
    return true;
}

bool AiCoreCollector::Save(const std::string& dataPath) const {
    std::string log;
    for (const AiCoreSample& sample : samples_) {
        AppendAiCoreLog(sample, log);
    }
    switch (AppendFile(ai_core_files::kUsageLog.Path(dataPath, collectTime_), log)) {
        case FileResult::CannotOpen:
            return PrintFailure("[AiCoreCollector] Failed to open the file.");
        case FileResult::Failed:
            return PrintFailure("[AiCoreCollector] Save raw data failed.");
        case FileResult::Ok:
            break;
    }
    EventWriter events;
    for (const AiCoreSample& sample : samples_) {
        WriteAiCoreDocument(sample, events);
        events.Save(ai_core_files::kUsageDocuments.Path(dataPath, sample.time));
    }
    return true;
}

}  // namespace zarn
