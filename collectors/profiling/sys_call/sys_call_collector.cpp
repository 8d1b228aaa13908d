#include "collectors/profiling/sys_call/sys_call_collector.h"

#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "collectors/profiling/sys_call/sys_call_commands.h"
#include "collectors/profiling/sys_call/sys_call_document.h"
#include "formats/sys_call.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/event_writer.h"

namespace zarn {

SysCallCollector::SysCallCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool SysCallCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadSysCallSettings(config, settings_);
}

bool SysCallCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                             const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!CreateDirectory(dataPath + sys_call_files::kRawDir)) {
        return PrintFailure(
            "[SysCallCollector]: Failed to create system call collecting directory!");
    }
    if (!CollectSysCalls(stopFlag)) {
        return PrintFailure("[SysCallCollector]: Failed to process system calling info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool SysCallCollector::CollectSysCalls(const StopFlag* stopFlag) {
    if (!host_.clock.currentTime(time_)) {
        return PrintFailure("[SysCallCollector]: Failed to collect time!");
    }
    if (IsSet(stopFlag)) {
        PrintLine("[SysCallCollector] Recieved stop signal, process will stop soon!");
        return false;
    }
    if (!CollectRawLogs()) {
        return false;
    }
    OrganizeSummaries();
    SaveResultJson();
    return true;
}

bool SysCallCollector::CollectRawLogs() {
    std::vector<std::pair<std::string, std::string>> processes;
    GetProcessIds(kName, settings_.processes, processes, host_.runner);
    if (processes.empty()) {
        PrintLine("[SysCallCollector] No legal processes to collect!");
        return false;
    }
    for (const auto& [name, pid] : processes) {
        SysCallRecord record;
        record.process = name;
        record.pid = pid;
        record.log = sys_call_files::LogPath(dataPath_, name, time_);
        records_.push_back(std::move(record));
    }
    RunTracers();
    std::string traced = "[SysCallCollector] Save system call info about all those processes: [";
    for (const SysCallRecord& record : records_) {
        traced += record.process + "(pid: " + record.pid + "),\n";
    }
    PrintLine(traced + "]");
    return true;
}

// What the tracers say of themselves is in their logs; `timeout` ends them by a signal.
void SysCallCollector::RunTracers() {
    std::vector<std::thread> tracers;
    tracers.reserve(records_.size());
    for (const SysCallRecord& record : records_) {
        PrintLine("[SysCallCollector] Ready to collect " + record.process + " system call info.");
        const std::string command = TraceCommand(record.pid, record.log, settings_.duration);
        try {
            tracers.emplace_back([this, command] { host_.runner.Run(command); });
        } catch (const std::system_error& error) {
            PrintError(std::string("[SysCallCollector] Error occurs: ") + error.what());
        }
    }
    for (std::thread& tracer : tracers) {
        tracer.join();
    }
}

void SysCallCollector::OrganizeSummaries() {
    for (SysCallRecord& record : records_) {
        if (!ReadSummary(record)) {
            continue;
        }
        if (settings_.savesDetails) {
            ReadAllDetails(record);
        }
        PrintLine("[SysCallCollector] Organize info for process [" + record.process +
                  "] sucessfully!");
    }
}

bool SysCallCollector::ReadSummary(SysCallRecord& record) {
    const std::string command = SummaryCommand(record.log);
    TraceSummary summary;
    if (!StreamCommandLines(
            command, [&summary](std::string_view line) { summary.Add(line); }, host_.runner)) {
        return PrintFailure("[SysCallCollector] cmd : " + command + " failed!");
    }
    record.rows = summary.Take();
    return true;
}

void SysCallCollector::ReadAllDetails(SysCallRecord& record) {
    for (const SummaryRow& row : record.rows) {
        CallDetails details;
        const bool isRead = ReadCallDetails(record.log, row.front(), details);
        if (!isRead) {
            PrintError("[SysCallCollector] organize details for function " + row.front() +
                       " failed.");
        }
        record.details.push_back(isRead ? std::move(details) : CallDetails());
    }
}

bool SysCallCollector::ReadCallDetails(const std::string& log, const std::string& name,
                                       CallDetails& details) {
    const std::string command = DetailsCommand(log, name);
    return StreamCommandLines(
               command, [&details](std::string_view line) { details.Add(line); }, host_.runner) ||
           PrintFailure("[SysCallCollector] cmd : " + command + " failed.");
}

void SysCallCollector::SaveResultJson() const {
    EventWriter events;
    WriteSysCallDocument(records_, time_, events);
    const std::string path = sys_call_files::kDocument.Path(dataPath_, time_);
    PrintLine("[SysCallCollector] Save json file : " + path + " sucessfully!");
    events.Save(path);
}

}  // namespace zarn
