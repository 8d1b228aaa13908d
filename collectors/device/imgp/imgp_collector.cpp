#include "collectors/device/imgp/imgp_collector.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "collectors/device/imgp/imgp_commands.h"
#include "collectors/device/imgp/imgp_table.h"
#include "collectors/device/imgp/umap_copy.h"
#include "formats/imgp.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "kit/cost.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxDevices = 16;

// How busy the block's engines are.
constexpr std::uint32_t kImageBlock = 0;
constexpr std::int32_t kNoRate = -1;

constexpr const char* kStatistics = "umap/";  // below the root of procfs

bool StopIsReceived(const StopFlag* stopFlag) {
    return IsSet(stopFlag) && !PrintFailure("[ImgpCollector] Received stop signal!");
}

}  // namespace

ImgpCollector::ImgpCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool ImgpCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadImgpSettings(config, settings_);
}

bool ImgpCollector::Start(const JsonDocument& config, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!CreateDirectory(dataPath + imgp_files::kRawDir)) {
        return PrintFailure("[ImgpCollector] Cannot create directory!");
    }
    if (!ReadImgpSettings(config, settings_)) {
        return false;
    }
    if (!RunJobs(stopFlag)) {
        return PrintFailure("[ImgpCollector] Failed to process profiling info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool ImgpCollector::RunJobs(const StopFlag* stopFlag) {
    if (StopIsReceived(stopFlag)) {
        return false;
    }
    if (HasEngineJob()) {
        PrintLine("[ImgpCollector] Start to collect imgp utilization data!");
        CollectUtilization();
    }
    if (StopIsReceived(stopFlag)) {
        return false;
    }
    if (settings_.Has(kImgpGlobalJob)) {
        PrintLine("[ImgpCollector] Start to collect global profiling data!");
        ProfileDevice();
    }
    if (StopIsReceived(stopFlag)) {
        return false;
    }
    if (settings_.Has(kImgpAppJob)) {
        PrintLine("[ImgpCollector] Start to collect app profiling data!");
        ProfileApp();
    }
    if (StopIsReceived(stopFlag)) {
        return false;
    }
    if (settings_.Has(kImgpUmapJob)) {
        CopyStatistics();
    }
    return true;
}

bool ImgpCollector::TakeTime() {
    return host_.clock.currentTime(collectTime_) ||
           PrintFailure("[ImgpCollector] Failed to get time stamp.");
}

// ---- How busy the engines are

bool ImgpCollector::HasEngineJob() const {
    return std::any_of(kImgpEngines.begin(), kImgpEngines.end(),
                       [this](const ImgpEngine& engine) { return settings_.Has(engine.job); });
}

void ImgpCollector::CollectUtilization() {
    if (!FindDevices()) {
        PrintError("[ImgpCollector] Failed to get device info.");
        return;
    }
    if (!TakeTime()) {
        return;
    }
    for (const int device : devices_) {
        EventWriter events;
        WriteUtilization(device, events);
        events.Save(imgp_files::kUtilization.Path(dataPath_, collectTime_));
    }
}

bool ImgpCollector::FindDevices() {
    int count = 0;
    int code = host_.device.GetCount(&count);
    if (code != 0 || count > kMaxDevices) {
        return PrintFailure("[ImgpCollector] Failed to get device count, error code:" +
                            std::to_string(code));
    }
    if (count <= 0) {
        return PrintFailure("[ImgpCollector] Failed to find device!");
    }
    std::array<int, kMaxDevices> ids{};
    code = host_.device.List(ids.data(), count);
    if (code != 0) {
        return PrintFailure("[ImgpCollector] Failed to get device list, error code:" +
                            std::to_string(code));
    }
    devices_.assign(ids.begin(), ids.begin() + count);
    return true;
}

void ImgpCollector::WriteUtilization(int device, EventWriter& events) {
    events.BeginEvent(kImgpEventId, collectTime_, kImgpObjectId);
    events.BeginObject();
    events.Key("deviceId");
    events.Integer(device);
    for (const ImgpEngine& engine : kImgpEngines) {
        if (settings_.Has(engine.job)) {
            events.Key(std::string(engine.job) + "Rate");
            events.Integer(ReadRate(device, engine));
        }
    }
    events.EndObject();
    events.End();
}

// An answer of another size is none.
std::int32_t ImgpCollector::ReadRate(int device, const ImgpEngine& engine) {
    std::int32_t rate = kNoRate;
    std::uint32_t size = sizeof(rate);
    const int code = host_.device.GetInfo(static_cast<std::uint32_t>(device), kImageBlock,
                                          engine.selector, &rate, &size);
    if (code != 0 || size != sizeof(rate)) {
        PrintError(std::string("[ImgpCollector] Failed to get utilizaton ratio for ") + engine.job +
                   "!");
        return kNoRate;
    }
    return rate;
}

// ---- Profiles

void ImgpCollector::RunTool(const Profiling& profiling) {
    ErrorWordFinder finder;
    if (!StreamCommand(
            profiling.command, [&finder](std::string_view piece) { finder.Take(piece); },
            host_.runner)) {
        PrintError(profiling.wordsIfNotRun);
    } else if (finder.HasFound()) {
        PrintError(profiling.wordsIfFailed);
    } else {
        WriteImgpTable(profiling.folder, profiling.table.Path(dataPath_, collectTime_));
    }
}

void ImgpCollector::ProfileDevice() {
    if (!TakeTime()) {
        return;
    }
    const std::string folder = dataPath_ + imgp_files::kGlobalFolder;
    RunTool({GlobalProfilingCommand(folder, settings_.duration), folder, imgp_files::kGlobalTable,
             "[ImgpCollector] Failed to execute global profiling command.",
             "[ImgpCollector] Failed to collect global profiling data."});
}

void ImgpCollector::ProfileApp() {
    if (!FindApp()) {
        PrintError("[ImgpCollector] Failed to find application path for app profiling.");
        return;
    }
    const std::string folder = dataPath_ + imgp_files::kAppDir;
    if (!CreateDirectory(folder)) {
        PrintError("[ImgpCollector] Failed to create imgp app raw dir");
        return;
    }
    const std::string script = folder + imgp_files::kAppScript;
    if (!WriteScript(script) || !TakeTime()) {
        return;
    }
    RunTool({AppProfilingCommand(folder, script), folder, imgp_files::kAppTable,
             "[ImgpCollector] Failed to execute app profiling command.",
             "[ImgpCollector] Failed to collect app profiling data."});
}

bool ImgpCollector::FindApp() {
    TrimSpaces(settings_.path);
    TrimSpaces(settings_.appName);
    if (settings_.appName.empty()) {
        return PrintFailure("[ImgpCollector] AppName is empty.");
    }
    const std::string file = settings_.path + "/" + settings_.appName;
    std::error_code ignored;
    const fs::file_status status = fs::status(file, ignored);
    if (!fs::exists(status)) {
        return PrintFailure("[ImgpCollector] App does not exist, app: " + file);
    }
    if (!fs::is_regular_file(status)) {
        return PrintFailure("[ImgpCollector] app is not regular file, app: " + file);
    }
    return true;
}

bool ImgpCollector::WriteScript(const std::string& path) const {
    return WriteFile(path, AppScript(settings_)) == FileResult::Ok ||
           PrintFailure("[ImgpCollector] Failed to open script file.");
}

// ---- The kernel's statistics

void ImgpCollector::CopyStatistics() {
    const std::string folder = dataPath_ + imgp_files::kUmapDir;
    if (!CreateDirectory(folder)) {
        PrintError("[ImgpCollector] Cannot create umap directory!");
        return;
    }
    PrintLine("[ImgpCollector] Start to collect umap data!");
    CopyUmap(host_.procRoot + kStatistics, folder);
}

}  // namespace zarn
