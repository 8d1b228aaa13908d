#include "collectors/system/cpu/cpu_collector.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "formats/cpu.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"

namespace zarn {
namespace {

constexpr const char* kStopped = "[CpuCollector] StopFlag received, CPU collector has stopped.";
constexpr const char* kNoTopTime = "[CpuCollector] Failed to get cpu info time stamp!";
constexpr const char* kNoCoresTime = "[CpuCollector] Failed to get cpu cores info time stamp!";
constexpr const char* kCommandFailed = "[CpuCollector] execute command failed.";

constexpr const char* kGlobalJob = "global";
constexpr const char* kCoreJob = "core";
constexpr const char* kSelectedJob = "selected_process";

// The filter keeps the head lines of `top` and its core lines, and marks the end of each sample.
constexpr const char* kCoreOptions =
    R"( -w 512 | awk '{ if (substr($1,1,1) ~ /t/ ) print} { if (substr($1,1,1) ~ /T/ ) print})"
    R"({ if (substr($1,1,1) ~ /%/ ) print} { if (substr($1,1,1) ~ /M/ ) {print "";print "";}}')";
// Wide enough that no command line wraps.
constexpr const char* kPsCommand =
    "ps --no-header --cols 512 -eo user,pid,%cpu,%mem,vsz,rss,psr,comm --sort -%cpu";

// The command for the threads of one process. The pid stands in a row of ps; whatever else a broken
// row holds in its place must not become shell syntax.
std::string PsThreadsCommand(const std::string& pid) {
    return "ps --no-header -L -p " + EscapeShellArgument(pid) +
           " -o user,tid,pid,%cpu,%mem,vsz,rss,psr,comm | awk 'NR<=10'";
}

}  // namespace

bool CpuCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadCpuSettings(config, settings_);
}

bool CpuCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                         const StopFlag* stopFlag) {
    const MissionCost cost;
    if (!host_.clock.currentTime(timeStamp_)) {
        return PrintFailure("[CpuCollector] Failed to get time stamp!");
    }
    if (!ProcessCpuInfo(dataPath, stopFlag)) {
        return PrintFailure("[CpuCollector] Failed to process cpu info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool CpuCollector::ProcessCpuInfo(const std::string& dataPath, const StopFlag* stopFlag) {
    dataPath_ = dataPath;
    // A missing directory shows when the files are opened.
    (void)CreateDirectory(dataPath + cpu_files::kRawDir);
    CollectCpuInfo(stopFlag);
    if (IsSet(stopFlag)) {
        PrintLine(kStopped);
        return true;
    }
    SaveRawFiles(stopFlag);
    if (IsSet(stopFlag)) {
        PrintLine(kStopped);
        return true;
    }
    return !settings_.jsonOutput || SaveDocuments();
}

void CpuCollector::CollectCpuInfo(const StopFlag* stopFlag) {
    RunMeasuringThreads();
    NameRawFiles(stopFlag);
}

// The programs are started together, so that they see the same moments of the system.
void CpuCollector::RunMeasuringThreads() {
    std::array<std::thread, 4> threads = {
        std::thread([this] { RunTop(); }), std::thread([this] { RunTopOfCores(); }),
        std::thread([this] { RunPs(); }), std::thread([this] { RunTopOfThreads(); })};
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void CpuCollector::RunTop() {
    TakeTime(kNoTopTime, collectData_.topTime);
    CpuUsageCutter cutter(CpuSampleTimes(collectData_.topTime, settings_.interval),
                          Wants(kGlobalJob), Wants(kSelectedJob), settings_.process);
    CutOutput(TopCommand("top -b -n ", " -w 512 -o %CPU"), &cutter);
    collectData_.usage = std::move(cutter.usage);
    collectData_.global = std::move(cutter.global);
    collectData_.selected = std::move(cutter.selected);
}

void CpuCollector::RunTopOfCores() {
    TakeTime(kNoCoresTime, collectData_.coreTime);
    CpuCoreCutter cutter(CpuSampleTimes(collectData_.coreTime, settings_.interval));
    CutOutput(TopCommand("top -1 -b -n ", kCoreOptions), Wants(kCoreJob) ? &cutter : nullptr);
    collectData_.cores = std::move(cutter.cores);
}

void CpuCollector::RunTopOfThreads() {
    TakeTime(kNoCoresTime, collectData_.threadTime);
    CpuThreadCutter cutter(CpuSampleTimes(collectData_.threadTime, settings_.interval));
    CutOutput(TopCommand("top -b -n ", " -w 512 -H -o %CPU"), &cutter);
    collectData_.threads = std::move(cutter.threads);
}

std::string CpuCollector::TopCommand(const char* program, const char* options) const {
    return program + std::to_string(settings_.count) + " -d " + std::to_string(settings_.interval) +
           options;
}

void CpuCollector::TakeTime(const char* wordsIfFailed, std::string& time) const {
    if (!host_.clock.currentTime(time)) {
        PrintError(wordsIfFailed);
        time.clear();
    }
}

void CpuCollector::RunCommand(const std::string& command, std::string& text) const {
    if (!host_.runner.Capture(command, text)) {
        PrintError(kCommandFailed);
        text.clear();
    }
}

void CpuCollector::CutOutput(const std::string& command, TopOutputCutter* cutter) const {
    const bool started = host_.runner.Stream(command, [cutter](std::string_view output) {
        if (cutter != nullptr) {
            cutter->Feed(output);
        }
    });
    if (!started) {
        PrintError(kCommandFailed);
    }
    if (cutter != nullptr) {
        cutter->Finish();
    }
}

void CpuCollector::RunPs() {
    CpuPsCutter cutter(Wants(kSelectedJob) ? settings_.process : std::vector<std::string>());
    std::string text;
    for (std::uint32_t pass = 0; pass < settings_.count; ++pass) {
        text.clear();
        RunCommand(kPsCommand, text);
        if (settings_.threadCollector) {
            CollectThreadRows(text);
        }
        if (settings_.jsonOutput) {
            cutter.TakePass(text);
        }
    }
    collectData_.top10 = std::move(cutter.top10);
    collectData_.selectedPs = std::move(cutter.selected);
}

void CpuCollector::CollectThreadRows(std::string_view psText) {
    std::string text;
    CommandLineCursor rows(psText);
    for (std::string_view row; rows.Next(row);) {
        const std::string pid(PidOfPsRow(row));
        if (pid.empty()) {
            continue;
        }
        text.clear();
        RunCommand(PsThreadsCommand(pid), text);
        CpuRows& threadRows = collectData_.threadRowsByPid[pid];
        threadRows.clear();
        CommandLineCursor threads(text);
        for (std::string_view thread; threads.Next(thread);) {
            threadRows.emplace_back(thread);
        }
    }
}

bool CpuCollector::Wants(const char* job) const {
    return std::find(settings_.job.begin(), settings_.job.end(), job) != settings_.job.end();
}

void CpuCollector::NameRawFiles(const StopFlag* stopFlag) {
    rawFiles_.usage = RawFilePath(cpu_files::kUsageLog);
    rawFiles_.threads = RawFilePath(cpu_files::kThreadLog);
    for (const std::string& job : settings_.job) {
        if (IsSet(stopFlag)) {
            return;
        }
        NameRawFileOf(job);
    }
}

void CpuCollector::NameRawFileOf(const std::string& job) {
    if (job == kGlobalJob) {
        rawFiles_.global = RawFilePath(cpu_files::kGlobalLog);
    } else if (job == kCoreJob) {
        rawFiles_.cores = RawFilePath(cpu_files::kCoresLog);
    } else if (job == kSelectedJob) {
        rawFiles_.selected = RawFilePath(cpu_files::kSelectedLog);
    } else {
        PrintLine("[CpuCollector] Warning: Unexpected job: " + job);
    }
}

// Empty, which leaves the file out, if there is no time to name it after.
std::string CpuCollector::RawFilePath(const NumberedFile& file) const {
    std::string time;
    return host_.clock.currentTime(time) ? file.Path(dataPath_, time) : std::string();
}

// Every pass writes the same content anew. A pass that is stopped touches no further file, so what
// an earlier pass wrote stays whole.
void CpuCollector::SaveRawFiles(const StopFlag* stopFlag) const {
    const std::array<std::pair<const std::string&, const CpuLog&>, 5> files = {
        {{rawFiles_.usage, collectData_.usage},
         {rawFiles_.global, collectData_.global},
         {rawFiles_.cores, collectData_.cores},
         {rawFiles_.selected, collectData_.selected},
         {rawFiles_.threads, collectData_.threads}}};
    for (std::uint32_t pass = 0; pass < settings_.count; ++pass) {
        for (const auto& [path, log] : files) {
            if (IsSet(stopFlag)) {
                return;
            }
            if (!path.empty() && WriteFile(path, log.Text()) == FileResult::CannotOpen) {
                PrintError("[CpuCollector] Failed to open the file.");
            }
        }
    }
}

bool CpuCollector::SaveDocuments() const {
    const std::string path = cpu_files::kUsageDocuments.Path(dataPath_, timeStamp_);
    const CpuSampleTimes topTimes(collectData_.topTime, settings_.interval);
    const CpuDocumentSources sources{collectData_.global, collectData_.cores, collectData_.top10,
                                     collectData_.selectedPs, collectData_.threadRowsByPid};
    EventWriter events;
    for (std::uint32_t i = 0; i < settings_.count; ++i) {
        if (!BuildCpuJson(sources, topTimes, i, events)) {
            PrintLine("[CpuCollector] Error: Document is empty.");
            return false;
        }
        events.Save(path);
    }
    return true;
}

}  // namespace zarn
