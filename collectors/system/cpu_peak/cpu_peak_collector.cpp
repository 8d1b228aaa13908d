#include "collectors/system/cpu_peak/cpu_peak_collector.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "collectors/system/cpu_peak/core_load.h"
#include "formats/cpu_peak.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"

namespace zarn {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

}  // namespace

CpuPeakCollector::CpuPeakCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool CpuPeakCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return CheckCpuPeakSettings(config);
}

bool CpuPeakCollector::Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) {
    const MissionCost cost;
    rawDir_ = dataPath + cpu_peak_files::kRawDir;
    if (!CreateDirectory(rawDir_)) {
        return PrintFailure("[CpuPeakCollector] Cannot create CPU peak collect directory!");
    }
    settings_ = ReadCpuPeakSettings(config);
    if (!Scan(stopFlag)) {
        return PrintFailure("[CpuPeakCollector] Failed to collect peak!");
    }
    cost.Record(kName, dataPath, "] Cost time: ");
    return true;
}

bool CpuPeakCollector::Scan(const StopFlag* stopFlag) {
    // 32 bits with a sign are what it is counted in: a duration of 2^31 and more is over at once.
    nanoseconds remaining = milliseconds(static_cast<std::int32_t>(settings_.scanDuration));
    while (remaining.count() >= 0) {
        if (IsSet(stopFlag)) {
            PrintLine("[CpuPeakCollector] StopFlag received, CpuPeakCollector has stopped.");
            return true;
        }
        const nanoseconds begin = host_.clock.sinceEpoch();
        if (!TakePass(stopFlag)) {
            return PrintFailure("[CpuPeakCollector] Failed to get CPU info!");
        }
        remaining -= EndPeriod(host_.clock.sinceEpoch() - begin, stopFlag);
    }
    return true;
}

// An interrupt that comes between the readings ends the pass: it is to begin no recording.
bool CpuPeakCollector::TakePass(const StopFlag* stopFlag) {
    if (!ReadCounts(before_)) {
        return false;
    }
    if (settings_.scanPeriod != 0) {
        host_.clock.sleepFor(milliseconds(settings_.scanPeriod), stopFlag);
    }
    if (IsSet(stopFlag)) {
        return true;
    }
    if (!ReadCounts(after_)) {
        return false;
    }
    if (!IdleShares(before_, after_, idleShares_)) {
        PrintError(
            "[CpuPeakCollector] Failed to get total CPU time diff (diff is 0)! Ignore this "
            "period!");
    }
    if (!idleShares_.empty()) {
        LookForPeak();
    }
    return true;
}

bool CpuPeakCollector::ReadCounts(std::vector<CoreCounts>& counts) {
    const std::string path = host_.procRoot + "stat";
    // Asked once, since it does not change and asking costs more than half a reading.
    coreCount_ = coreCount_ < 1 ? host_.processorCount() : coreCount_;
    const auto cores = static_cast<std::size_t>(std::max(coreCount_, 0L));
    std::error_code ignored;
    if (ReadFileHead(path, cores + 1, text_) != FileResult::Ok) {
        return PrintFailure(std::filesystem::exists(path, ignored)
                                ? "[CpuPeakCollector] Open file /proc/stat failed!"
                                : "[CpuPeakCollector] The system file /proc/stat does not exist! ");
    }
    if (cores == 0) {
        return PrintFailure("[CpuPeakCollector] Get CPU Cores failed!");
    }
    const StatResult result = ParseStatCounts(text_, cores, counts);
    if (result == StatResult::Incomplete) {
        PrintError("[CpuPeakCollector] CPU info is incomplete!");
    }
    return result == StatResult::Ok;
}

void CpuPeakCollector::LookForPeak() {
    // In the precision of the shares, so that a core exactly at the limit is not above it.
    const auto idleLimit = static_cast<float>((100.0 - settings_.maxUsage) / 100.0);
    CoreChoice choice = ChooseCores(idleShares_, idleLimit);
    cores_.busy = std::move(choice.busy);
    cores_.quiet = choice.quiet.value_or(cores_.quiet);
    if (cores_.busy.empty()) {
        return;
    }
    PrintLine("[CpuPeakCollector] CPU info has a peak! Start a thread for perf collection!");
    try {
        std::thread([this] { Record(); }).join();
    } catch (const std::system_error& error) {
        PrintError(std::string("[CpuPeakCollector] Error occurs: ") + error.what());
    }
}

void CpuPeakCollector::Record() const {
    PrintLine("[CpuPeakCollector] CPU " + cores_.busy + " need to be collected!");
    std::string time;
    if (!host_.clock.currentTime(time)) {
        PrintError("[CpuPeakCollector] Failed to get curr timeStamp. Perf collection failed!");
        return;
    }
    const std::string path = rawDir_ + cpu_peak_files::RawName(cores_.busy, time);
    if (host_.runner.Run(PeakRecordCommand(cores_, settings_, path)) != 0) {
        PrintError("[CpuPeakCollector] Perf record command execution failed!");
    }
    if (host_.runner.Run(PeakTextCommand(path)) != 0) {
        PrintError("[CpuPeakCollector] perf script command execution failed!");
    }
}

// What a pass takes off the remaining time. What is left of its period is slept away first.
nanoseconds CpuPeakCollector::EndPeriod(nanoseconds elapsed, const StopFlag* stopFlag) const {
    const milliseconds period(settings_.scanPeriod);
    // Whole milliseconds; but without a period a pass takes less than one, and has to count.
    const nanoseconds counted =
        period.count() == 0 ? elapsed : std::chrono::duration_cast<milliseconds>(elapsed);
    if (counted > period) {
        return counted;
    }
    // A clock that was set back meanwhile is no reason to sleep for longer than a period.
    const auto rest =
        std::chrono::duration_cast<milliseconds>(period - std::max(counted, nanoseconds::zero()));
    if (rest.count() > 0) {
        host_.clock.sleepFor(rest, stopFlag);
    }
    return period;
}

}  // namespace zarn
