#include "collectors/device/mbuf/mbuf_collector.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

#include "collectors/device/mbuf/mbuf_log.h"
#include "formats/mbuf.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"

namespace zarn {
namespace {

constexpr std::uint32_t kTimeoutCommand = 0;  // and the type of question
constexpr std::uint32_t kBetweenQueries = 5;  // seconds

// How the library is to record: on or off, the records wanted, and two words whose meaning is the
// library's.
using TimeoutSetting = std::array<std::uint32_t, 4>;
constexpr TimeoutSetting kOff = {0, kMostMbufRecords, 10000, 5000};
constexpr TimeoutSetting kOn = {1, kMostMbufRecords, 10000, 5000};

int Configure(BufferLibrary& buffers, TimeoutSetting setting) {
    return buffers.Configure(kTimeoutCommand, setting.data(), sizeof(setting));
}

}  // namespace

MbufCollector::MbufCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)), names_(host_.runner) {}

bool MbufCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadMbufSettings(config, settings_);
}

bool MbufCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    stopFlag_ = stopFlag;
    if (!CreateDirectory(dataPath + mbuf_files::kRawDir)) {
        return PrintFailure("[MbufCollector] Cannot create directory!");
    }
    if (!RunCycles()) {
        return PrintFailure("[MbufCollector] Failed to process mbuf info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool MbufCollector::RunCycles() {
    bool good = host_.buffers.RegisterResource();
    if (!good) {
        PrintError("[MbufCollector] Register rm resource failed!");
    }
    for (std::uint32_t cycle = 0; cycle < settings_.count; ++cycle) {
        if (IsSet(stopFlag_) || !RestartRecording()) {
            good = PrintFailure("[MbufCollector] The process is interrupted!");
        } else {
            (void)RunCycle();
        }
        host_.clock.sleepSeconds(settings_.interval, stopFlag_);
    }
    host_.buffers.UnregisterResource();
    return good;
}

bool MbufCollector::RestartRecording() {
    if (const int code = Configure(host_.buffers, kOff); code != 0) {
        return PrintFailure(
            "[MbufCollector] Failed to configure the mbuf timeout to disable, ret:" +
            std::to_string(code));
    }
    if (const int code = Configure(host_.buffers, kOn); code != 0) {
        return PrintFailure("[MbufCollector] Failed to configure the mbuf timeout to enable, ret:" +
                            std::to_string(code));
    }
    return true;
}

bool MbufCollector::RunCycle() {
    std::vector<MbufRecord> first;
    if (!Query(first)) {
        return PrintFailure("[MbufCollector] Failed to get timeout mbuf info for the first time!");
    }
    if (first.empty()) {
        PrintLine("[MbufCollector] Mbuffer resources are released in time!");
        return true;
    }
    host_.clock.sleepSeconds(kBetweenQueries, stopFlag_);
    std::vector<MbufRecord> second;
    if (!Query(second)) {
        return PrintFailure("[MbufCollector] Failed to get timeout mbuf info for the second time!");
    }
    MbufCycle cycle;
    cycle.Add(first);
    cycle.Add(second);
    return SaveDocument(cycle.NewRecords());
}

bool MbufCollector::Query(std::vector<MbufRecord>& records) {
    if (!AskForRecords(records)) {
        return PrintFailure("[MbufCollector] Failed to get mbuffer information!");
    }
    if (records.empty()) {
        PrintLine("[MbufCollector] Timeout mbuffer size is 0.");
    }
    std::string path;
    if (!TakeLogPath(path)) {
        return PrintFailure("[MbufCollector] Failed to get time stamp!");
    }
    FileAppender log(path);
    WriteMbufLog(records, [&log](std::string_view piece) { log.Append(piece); });
    (void)log.Keep();  // the records count without it too
    return true;
}

bool MbufCollector::AskForRecords(std::vector<MbufRecord>& records) {
    answer_.assign(kMostMbufRecords * kMbufRecordSize, '\0');
    auto size = static_cast<std::uint32_t>(answer_.size());
    if (host_.buffers.GetInfo(kTimeoutCommand, answer_.data(), &size) != 0) {
        return false;
    }
    // Whatever size the library gives, there is no more than the buffer.
    records = ParseMbufRecords(std::string_view(answer_).substr(0, size));
    return true;
}

// Two queries may fall into one millisecond: those of a cycle whose pause is cut short by an
// interrupt, those of two cycles without a pause between them.
bool MbufCollector::TakeLogPath(std::string& path) {
    std::string time;
    while (host_.clock.currentTime(time)) {
        path = mbuf_files::kQueryLog.Path(dataPath_, time);
        if (!ResolvePath(path)) {
            return true;
        }
        host_.clock.pause(std::chrono::milliseconds(1));
    }
    return false;
}

bool MbufCollector::SaveDocument(const std::vector<const MbufRecord*>& newRecords) {
    std::string happenTime;
    if (!host_.clock.currentTime(happenTime)) {
        return PrintFailure("[MbufCollector] Failed to get time stamp!");
    }
    std::vector<MbufFinding> findings;
    findings.reserve(newRecords.size());
    for (const MbufRecord* record : newRecords) {
        findings.push_back({*record, names_.ProcessOf(record->allocPid),
                            names_.ProcessOf(record->usePid), names_.GroupsOf(record->usePid)});
    }
    EventWriter events;
    WriteMbufDocument(findings, happenTime, events);
    if (AppendFile(mbuf_files::kTimeouts.Path(dataPath_, happenTime), events.Lines()) !=
        FileResult::Ok) {
        return PrintFailure("[MbufCollector] Cannot open outfile, check your filePath.");
    }
    return true;
}

}  // namespace zarn
