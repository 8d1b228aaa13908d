#include "collectors/device/aicpu/aicpu_collector.h"

#include <sys/wait.h>

#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include "collectors/device/aicpu/aicpu_document.h"
#include "collectors/device/aicpu/core_set_parser.h"
#include "collectors/device/aicpu/process_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"
#include "kit/sampling.h"

namespace zarn {
namespace {

constexpr const char* kProcList = "proc_list";
constexpr const char* kThreadInfo = "cpu_thread_info";
constexpr const char* kNoTime = "[AicpuCollector] Get collect time failed.";

// One collector at a time has the selection.
std::mutex& Turn() {
    static std::mutex turn;
    return turn;
}

bool TellCoreSet(const CoreSet& cores) {
    switch (cores.verdict) {
        case CoreSet::Verdict::Empty:
            PrintError("[AicpuCollector] Number of AICPU is configured as 0.");
            break;
        case CoreSet::Verdict::BadFormat:
            return PrintFailure(
                "[AicpuCollector] Unexpected format found in AICPU configuration file.");
        case CoreSet::Verdict::NoInteger:
            return PrintFailure(
                "[AicpuCollector] AICPU configuration doesn't contain an integer. " + cores.reason);
        case CoreSet::Verdict::OutOfRange:
            return PrintFailure("[AicpuCollector] AICPU configuration out of int32 range. " +
                                cores.reason);
        case CoreSet::Verdict::IllegalRange:
            return PrintFailure("[AicpuCollector] Illegal range: [" + std::to_string(cores.min) +
                                ", " + std::to_string(cores.max) + "].");
        case CoreSet::Verdict::Ok:
            break;
    }
    return true;
}

// For what a shell that failed, or was interrupted, has left.
void RemoveFile(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

bool IsWithin(std::uint32_t value, std::uint32_t maximum) {
    return value >= 1 && value <= maximum;
}

}  // namespace

AicpuCollector::AicpuCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool AicpuCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadAicpuSettings(config, settings_);
}

bool AicpuCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                           const StopFlag* stopFlag) {
    const MissionCost cost;
    const std::lock_guard<std::mutex> turn(Turn());
    stopFlag_ = stopFlag;
    places_ = {host_.sysRoot, dataPath, ""};
    record_ = {-1, -1, settings_.jobs, settings_.interval, settings_.count, settings_.processes};
    if (!CreateDirectory(dataPath + aicpu_files::kRawDir)) {
        return PrintFailure("[AicpuCollector] Failed to create aicpu collector directory!");
    }
    if (!host_.clock.currentTime(places_.time)) {
        return PrintFailure(kNoTime);
    }
    if (!CheckSettings()) {
        return PrintFailure("[AicpuCollector] Check aicpu collector config failed!");
    }
    const bool hasCores = record_.deMin >= 0;
    if (hasCores && !Collect()) {
        return false;
    }
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

bool AicpuCollector::Collect() {
    if (!FindProcesses()) {
        return PrintFailure("[AicpuCollector] Get process info failed.");
    }
    if (!TakePasses()) {
        return PrintFailure("[AicpuCollector] Failed to process aicpu info!");
    }
    SaveJsonToFile(aicpu_files::kRecord.Path(places_.dataPath, places_.time),
                   MakeAicpuRecordDocument(record_, places_.time));
    return true;
}

bool AicpuCollector::CheckSettings() {
    if (!ReadCoreSet()) {
        return PrintFailure(
            "[AicpuCollector] Record param cid check failed, cannot state demin/demax");
    }
    if (record_.deMin < 0) {
        PrintError("[AicpuCollector] No information about AICPU will be collected.");
        return true;
    }
    return CheckCores() && CheckLimits();
}

// A core set that cannot be copied leaves an empty copy, which is that of a complex without cores.
bool AicpuCollector::ReadCoreSet() {
    (void)host_.runner.Run(CopyCoreSetLine(places_));
    std::string text;
    if (ReadFile(places_.Copy(kAicpuCoreSet), text) != FileResult::Ok) {
        return PrintFailure("[AicpuCollector] Cannot find AICPU configuration file.");
    }
    const CoreSet cores = ParseCoreSet(text);
    record_.deMin = cores.min;
    record_.deMax = cores.max;
    return TellCoreSet(cores);
}

bool AicpuCollector::CheckCores() const {
    for (const AicpuProcess& process : record_.processes) {
        const std::int64_t core = process.core;
        if (core < record_.deMin || core > record_.deMax) {
            return PrintFailure("[AicpuCollector] Illegal cid: " + std::to_string(core));
        }
    }
    return true;
}

bool AicpuCollector::CheckLimits() const {
    if (!IsWithin(settings_.interval, AicpuSettings::kMaxInterval)) {
        return PrintFailure(
            "[AicpuCollector] Aicpu collect interval cannot be 0s or larger than 60s!");
    }
    return IsWithin(settings_.count, AicpuSettings::kMaxCount) ||
           PrintFailure("[AicpuCollector] Aicpu collect count should in (0, 2000]!");
}

bool AicpuCollector::FindProcesses() {
    return FindPids() && FindGroups();
}

bool AicpuCollector::FindPids() {
    std::vector<std::string> procList;
    if (!ReadSnapshot(kProcList, procList)) {
        return PrintFailure("[AicpuCollector] Failed to find AICPU proc_list file.");
    }
    for (AicpuProcess& process : record_.processes) {
        const Lookup pid = FindPid(procList, process.name);
        if (pid.verdict == Lookup::Verdict::Fault) {
            return PrintFailure("[AicpuCollector] AICPU proc_list file is invalid. " + pid.reason);
        }
        process.valid = pid.verdict == Lookup::Verdict::Found;
        process.pid = pid.value;
        if (!process.valid) {
            PrintError("[AicpuCollector] aicpu_process: " + process.name +
                       " is invalid, please confirm aicpu_process is a deterministic process.");
        }
    }
    return true;
}

bool AicpuCollector::FindGroups() {
    for (AicpuProcess& process : record_.processes) {
        if (process.valid && !FindGroupOf(process)) {
            return false;
        }
    }
    return true;
}

bool AicpuCollector::FindGroupOf(AicpuProcess& process) {
    if (!Select(process)) {
        return false;
    }
    std::vector<std::string> threadInfo;
    const bool isRead = ReadSnapshot(kThreadInfo, threadInfo);
    ClearSelection();
    if (!isRead) {
        return PrintFailure("[AicpuCollector] Failed to find AICPU cpu_thread_info file.");
    }
    const Lookup group = FindGroup(threadInfo, process);
    if (group.verdict == Lookup::Verdict::Fault) {
        return PrintFailure("[AicpuCollector] AICPU proc_list cpu_thread_info is invalid. " +
                            group.reason);
    }
    process.valid = group.verdict == Lookup::Verdict::Found;
    process.groupId = group.value;
    if (!process.valid) {
        PrintError("[AicpuCollector] please confirm aicpu_process is bind to aicpu_cid.");
    }
    return true;
}

bool AicpuCollector::ReadSnapshot(const std::string& attribute, std::vector<std::string>& lines) {
    (void)host_.runner.Run(SnapshotLine(places_, attribute));
    const bool isRead = ReadFileLines(places_.Snapshot(attribute), lines);
    if (host_.runner.Run(RemoveSnapshotLine(places_, attribute)) != 0) {
        RemoveFile(places_.Snapshot(attribute));
    }
    return isRead;
}

void AicpuCollector::PlanPasses() {
    lists_.clear();
    if (record_.jobs.core) {
        lists_.push_back(&aicpuCoreList);
    }
    if (record_.jobs.event) {
        lists_.push_back(&aicpuEventList);
    }
    if (record_.jobs.abnormal) {
        lists_.push_back(&aicpuAbnormalList);
    }
    lists_.push_back(&aicpuProcessList);
    passLines_ = {MarkLine(places_, lists_)};
    for (const AicpuList* list : lists_) {
        passLines_.push_back(CopyLine(places_, *list));
    }
}

bool AicpuCollector::TakePasses() {
    PlanPasses();
    CopyDevice();
    for (AicpuProcess& process : record_.processes) {
        if (!IsSet(stopFlag_) && !TakePassesOf(process)) {
            return false;
        }
    }
    return true;
}

void AicpuCollector::CopyDevice() {
    (void)RunLine(CopyLine(places_, aicpuDeviceList));
    std::vector<std::string> attributes = aicpuDeviceList.attributes;
    attributes.emplace_back(kAicpuCoreSet);
    Merge(attributes, aicpu_files::DevicePath(places_.dataPath, places_.time));
}

bool AicpuCollector::TakePassesOf(AicpuProcess& process) {
    if (!Select(process)) {
        return PrintFailure("[AicpuCollector] Set record param failed.");
    }
    (void)TakeSamples({settings_.count, settings_.interval}, stopFlag_, host_.clock,
                      [this, &process] { return TakePass(process); });
    ClearSelection();
    // Without a pass there are no copies to be merged.
    for (const AicpuList* list : process.collectTimes.empty() ? AicpuLists{} : lists_) {
        Merge(list->attributes,
              aicpu_files::SectionsPath(places_.dataPath, list->name, process.name, places_.time));
    }
    return true;
}

bool AicpuCollector::TakePass(AicpuProcess& process) {
    std::string time;
    if (!host_.clock.currentTime(time)) {
        return PrintFailure(kNoTime);
    }
    process.collectTimes.push_back(time);
    for (const std::string& line : passLines_) {
        (void)RunLine(line);
    }
    return true;
}

// The copies go even if they could not all be merged, for the next process starts from fresh ones.
// The line that removes them stops at one that is not there.
void AicpuCollector::Merge(const std::vector<std::string>& attributes, const std::string& target) {
    (void)RunLine(MergeLine(places_, attributes, target));
    if (!RunLine(RemoveLine(places_, attributes))) {
        for (const std::string& attribute : attributes) {
            RemoveFile(places_.Copy(attribute));
        }
    }
}

// A line that fails may have set a part of the selection.
bool AicpuCollector::Select(const AicpuProcess& process) {
    const bool done = RunLine(SelectLine(places_, process));
    if (!done) {
        ClearSelection();
    }
    return done;
}

// An interrupt from the terminal reaches the shell too, which must not leave the selection behind.
void AicpuCollector::ClearSelection() {
    const std::string line = ClearLine(places_);
    const int status = host_.runner.Run(line);
    if (WIFSIGNALED(status)) {
        (void)RunLine(line);
    } else if (status != 0) {
        PrintError("[AicpuCollector] Failed to run command: " + line);
    }
}

bool AicpuCollector::RunLine(const std::string& line) {
    return host_.runner.Run(line) == 0 ||
           PrintFailure("[AicpuCollector] Failed to run command: " + line);
}

}  // namespace zarn
