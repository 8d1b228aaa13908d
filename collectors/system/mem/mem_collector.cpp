#include "collectors/system/mem/mem_collector.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include "collectors/system/mem/mem_commands.h"
#include "collectors/system/mem/mem_values_parser.h"
#include "collectors/system/mem/word_cursor.h"
#include "formats/mem.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/sampling.h"

namespace zarn {
namespace {

// Behind the counters in their log: the sum of the column `used` of `free`.
constexpr const char* kFreeUsedColumn = "used";

// More processes than this no system has.
constexpr std::size_t kMostPids = std::size_t{1} << 22;

void TellLogFailure(FileResult result) {
    if (result != FileResult::Ok) {
        PrintError("[MemCollector]: Failed to mem log doesn't Exist !");
    }
}

// Appends a table, its separator included.
void SaveLog(const std::string& path, std::string table) {
    AppendLogRow(memSeparatorRow, table);
    TellLogFailure(AppendFile(path, table));
}

std::optional<std::int32_t> ReadCounter(std::string_view output) {
    std::int32_t value = 0;
    switch (ParseMemCounter(output, value)) {
        case CounterResult::NoInteger:
            PrintError("[MemCollector]: mem key information doesn't contain an integer. ");
            return std::nullopt;
        case CounterResult::OutOfRange:
            PrintError("[MemCollector]: mem key information out of int32 range. ");
            return std::nullopt;
        case CounterResult::Ok:
            break;
    }
    return value;
}

// The columns of the log of counters, but for the last.
std::vector<std::string> CounterColumns() {
    return {kMemSystemColumns.begin() + kMemFreeColumnCount, kMemSystemColumns.end()};
}

}  // namespace

MemCollector::MemCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool MemCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    if (!ReadMemSettings(config, settings_)) {
        return false;
    }
    if (settings_.processMemJob) {
        FindNamedProcesses();
    }
    return true;
}

void MemCollector::FindNamedProcesses() {
    for (const std::string& name : settings_.processNames) {
        std::string output;
        (void)Read("pidof " + name, output);
        WordCursor cursor(output);
        const std::size_t before = pids_.size();
        for (std::string_view pid; cursor.Next(pid);) {
            pids_.emplace_back(pid);
        }
        if (pids_.size() == before) {
            PrintError("[MemCollector]: Not exist process: \"" + name + "\"");
        }
    }
}

bool MemCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                         const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    stopFlag_ = stopFlag;
    if (!CreateDirectory(dataPath + mem_files::kRawDir)) {
        return PrintFailure("[MemCollector]: Failed to create mem collect directory!");
    }
    if (!CollectSamples()) {
        return PrintFailure("[MemCollector]: Failed to process mem info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool MemCollector::CollectSamples() {
    if (!host_.clock.currentTime(timeStamp_)) {
        return PrintFailure("[MemCollector]: Failed to collect time!");
    }
    const auto takeSample = [this] {
        while (!TakePass() && !IsStopped()) {
        }
        return true;
    };
    return TakeSamples({settings_.count, settings_.interval}, stopFlag_, host_.clock, takeSample);
}

bool MemCollector::TakePass() {
    if (settings_.systemMemJob) {
        SampleSystem();
    }
    return !settings_.processMemJob || IsStopped() || SampleProcessMemory();
}

void MemCollector::SampleSystem() {
    const std::vector<std::string> counters = SampleCounters();
    if (!IsStopped()) {
        SampleFree(counters);
    }
}

std::vector<std::string> MemCollector::SampleCounters() {
    if (!TakeTime()) {
        return {};
    }
    std::vector<std::string> values;
    std::uint32_t sum = 0;  // wraps around, as those who read it know
    for (const char* command : kMemCounterCommands) {
        std::string output;
        const auto value = Read(command, output) ? ReadCounter(output) : std::nullopt;
        if (!value) {
            PrintError("[MemCollector]: Failed to collect meminfo item!");
            return {};
        }
        sum += static_cast<std::uint32_t>(*value);
        values.push_back(std::to_string(*value));
    }
    values.push_back(std::to_string(sum));
    const std::optional<std::string> used = ReadFreeSum(kUsedFreeColumn);
    if (!used) {
        PrintError("[MemCollector]: Failed to collect meminfo free!");
        return values;
    }
    if (IsStopped()) {
        return values;
    }
    std::vector<std::string> columns = CounterColumns();
    columns.emplace_back(kFreeUsedColumn);
    std::vector<std::string> cells = values;
    cells.push_back(*used);
    std::string table;
    AppendLogRow(columns, table);
    AppendLogRow(cells, table);
    SaveLog(mem_files::kCounterLog.Path(dataPath_, timeStamp_), std::move(table));
    return values;
}

std::optional<std::string> MemCollector::ReadFreeSum(int column) {
    std::string output;
    return Read(FreeSumCommand(column), output) ? ParseMemSum(output) : std::nullopt;
}

void MemCollector::SampleFree(const std::vector<std::string>& counters) {
    if (!TakeTime()) {
        return;
    }
    MemLogText log(mem_files::kSystemLog.Path(dataPath_, timeStamp_));
    std::vector<std::string> values;
    if (!Copy(kFreeCommand, log) || !ReadFreeValues(values)) {
        PrintError("[MemCollector]: Failed to get system value!");
        return;
    }
    if (IsStopped()) {
        return;
    }
    TellLogFailure(log.Keep());
    values.insert(values.end(), counters.begin(), counters.end());
    EventWriter events;
    if (!WriteSystemDocument(values, sampleTime_, events)) {
        PrintError("[MemCollector]: Failed to create system json value missing!");
        return;
    }
    events.Save(mem_files::kSystemSamples.Path(dataPath_, timeStamp_));
}

bool MemCollector::ReadFreeValues(std::vector<std::string>& values) {
    for (std::size_t i = 0; i < kMemFreeColumnCount; ++i) {
        const std::optional<std::string> value =
            ReadFreeSum(kFirstFreeColumn + static_cast<int>(i));
        if (!value) {
            return PrintFailure("[MemCollector]: free get value is not number!");
        }
        values.push_back(*value);
    }
    return true;
}

bool MemCollector::SampleProcessMemory() {
    if (pids_.empty() && !FindAllProcesses()) {
        return PrintFailure("[MemCollector]: Failed to get all process pid!");
    }
    SampleSharePool();
    if (!IsStopped()) {
        SampleProcesses();
    }
    for (const std::string& pid : pids_) {
        if (IsStopped()) {
            break;
        }
        if (IsMemNumber(pid)) {
            SampleSmaps(pid);
        }
    }
    return true;
}

// Line by line, since the output of a tool that went wrong need not fit into memory.
bool MemCollector::FindAllProcesses() {
    CommandLineSplitter splitter;
    const auto take = [this](std::string_view line) {
        if (!line.empty() && pids_.size() < kMostPids) {
            pids_.emplace_back(line);
        }
    };
    const bool started = StreamCommand(
        kAllPidsCommand,
        [&splitter, &take](std::string_view output) { splitter.Feed(output, take); }, host_.runner);
    splitter.Finish(take);
    if (!started) {
        pids_.clear();
    }
    return started;
}

void MemCollector::SampleSharePool() {
    std::string total;
    if (!Read(kSharePoolTotalCommand, total)) {
        PrintError("[MemCollector]: Failed to get share pool total num!");
        return;
    }
    std::string table(WithoutLast(total));
    if (!table.empty()) {
        table += '\n';
    }
    AppendLogRow(kMemSharePoolColumns, table);
    std::vector<SharePoolRow> rows;
    bool good = ReadSharePoolTable(rows);
    for (const SharePoolRow& row : rows) {
        if (!good || IsStopped()) {
            break;
        }
        good = AddSharePoolRow(row, table);
    }
    if (!good) {
        PrintError("[MemCollector]: Failed to get share pool command!");
    } else if (!IsStopped()) {
        SaveLog(mem_files::kSharePoolLog.Path(dataPath_, timeStamp_), std::move(table));
    }
}

bool MemCollector::ReadSharePoolTable(std::vector<SharePoolRow>& rows) {
    std::string output;
    if (!Read(kSharePoolTableCommand, output)) {
        return false;
    }
    switch (ParseSharePoolTable(output, rows)) {
        case SharePoolResult::EmptyValue:
            return PrintFailure("[MemCollector]: Failed to get sharepool value empty!");
        case SharePoolResult::MissingValue:
            return PrintFailure("[MemCollector]: Failed to get sharepool value missing!");
        case SharePoolResult::Ok:
            break;
    }
    return true;
}

bool MemCollector::AddSharePoolRow(const SharePoolRow& row, std::string& table) {
    if (row.values.empty()) {
        table += row.guard + '\n';
        return true;
    }
    std::string command;
    if (!Read(CommandNameCommand(row.values.front()), command)) {
        return PrintFailure("[MemCollector]: Failed to sharepool pid switch command!");
    }
    MemRow cells = row.values;
    cells.emplace_back(WithoutLast(command));
    if (cells.back().empty()) {
        return PrintFailure("[MemCollector]: Failed to get sharepool value empty!");
    }
    AppendLogRow(cells, table);
    return true;
}

void MemCollector::SampleProcesses() {
    if (!TakeTime()) {
        return;
    }
    std::vector<MemRow> rows;
    for (std::size_t i = 0; i < pids_.size() && !IsStopped(); ++i) {
        if (std::optional<MemRow> row = ReadProcess(pids_[i])) {
            rows.push_back(std::move(*row));
        }
    }
    if (IsStopped()) {
        return;
    }
    SaveProcessLog(rows);
    SaveProcessDocuments(rows);
}

// Nothing for a process of which any part cannot be had: one that has ended, a zombie, a kernel
// thread, that of another user. The parts are read one after the other, so that they are as many
// moments.
std::optional<MemRow> MemCollector::ReadProcess(const std::string& pid) {
    SmapsSums sums;
    std::size_t read = 0;
    std::string output;
    for (const std::string& command : SmapsSumCommands(pid)) {
        const auto sum = Read(command, output) ? ParseMemSum(output) : std::nullopt;
        if (!sum) {
            return std::nullopt;
        }
        sums[read++] = *sum;
    }
    const auto alloc =
        Read(SharePoolAllocCommand(pid), output) ? ParseSharePoolAlloc(output) : std::nullopt;
    if (!alloc) {
        return std::nullopt;
    }
    const auto words =
        Read(StatusWordsCommand(pid), output) ? ParseStatusWords(output) : std::nullopt;
    return words ? std::optional<MemRow>(MakeProcessRow(pid, sums, *alloc, *words)) : std::nullopt;
}

void MemCollector::SaveProcessLog(const std::vector<MemRow>& rows) {
    std::string table;
    AppendLogRow(kMemProcessColumns, table);
    for (const MemRow& row : rows) {
        AppendLogRow(row, table);
    }
    SaveLog(mem_files::kProcessLog.Path(dataPath_, timeStamp_), std::move(table));
}

void MemCollector::SaveProcessDocuments(const std::vector<MemRow>& rows) {
    std::vector<MemRow> greatest = rows;
    const PssResult sorted = KeepGreatestPss(greatest);
    if (sorted != PssResult::Ok) {
        PrintError(sorted == PssResult::ShortRow ? "[MemCollector]: Failed to get process mem!"
                                                 : "[MemCollector]: Failed to sort process mem!");
        PrintError("[MemCollector]: Failed to get process log data!");
        return;
    }
    SaveRows(mem_files::kProcessInfo, greatest, WriteProcessInfo,
             "[MemCollector]: Failed to process log data, value missing!");
    SaveRows(mem_files::kProcessSamples, rows, WriteProcessSamples,
             "[MemCollector]: Failed to create process mem data json value missing!");
    SaveRows(mem_files::kProcessStaticInfo, greatest, WriteProcessStaticInfo,
             "[MemCollector]: Failed to process static log data, value missing!");
}

void MemCollector::SaveRows(const NumberedFile& file, const std::vector<MemRow>& rows,
                            WriteRows write, const char* wordsIfMissing) {
    EventWriter events;
    if (!write(rows, sampleTime_, events)) {
        PrintError(wordsIfMissing);
        return;
    }
    events.Save(file.Path(dataPath_, timeStamp_));
}

void MemCollector::SampleSmaps(const std::string& pid) {
    MemLogText log(mem_files::SmapsLogPath(dataPath_, pid, timeStamp_));
    if (Copy(SmapsCommand(pid), log) && !IsStopped()) {
        TellLogFailure(log.Keep());
    }
}

bool MemCollector::TakeTime() {
    return host_.clock.currentTime(sampleTime_) ||
           PrintFailure("[MemCollector]: Failed to get collect time!.");
}

bool MemCollector::Read(const std::string& command, std::string& output) {
    return ExecuteCommand(command, output, host_.runner);
}

bool MemCollector::Copy(const std::string& command, MemLogText& log) {
    return StreamCommand(
        command, [&log](std::string_view output) { log.Append(output); }, host_.runner);
}

}  // namespace zarn
