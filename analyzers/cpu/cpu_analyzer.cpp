#include "analyzers/cpu/cpu_analyzer.h"

#include <stdexcept>

#include "analyzers/cpu/cpu_all_processes.h"
#include "analyzers/cpu/cpu_analysis_documents.h"
#include "formats/cpu.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"
#include "kit/event_writer.h"

namespace zarn {
namespace {

// Documents are gathered to about so much before they are saved.
constexpr std::size_t kPiece = std::size_t{1} << 20U;

enum class TableMode { Rewrite, Append };

// Where a table goes and what is said when it cannot be written to its end.
struct TableTarget {
    std::string path;
    TableMode mode;
    std::string wordsOnError;
};

// Writes the table that `fill` gives; false after its line.
template <typename Fill>
bool SaveTable(const TableTarget& target, Fill fill) {
    FileResult result = FileResult::Ok;
    bool rewrite = target.mode == TableMode::Rewrite;
    CsvTable table([&](std::string_view piece) {
        result = rewrite ? WriteFile(target.path, piece) : AppendFile(target.path, piece);
        rewrite = false;
        return result == FileResult::Ok;
    });
    fill(table);
    if (result == FileResult::CannotOpen) {
        return PrintFailure("[CpuAnalyzer] Failed to open file: " + target.path);
    }
    if (result == FileResult::Failed) {
        return PrintFailure(target.wordsOnError + "the file cannot be written to its end");
    }
    return true;
}

bool PrintTableFault(const std::out_of_range& error) {
    return PrintFailure(
        std::string("[CpuAnalyzer] Failed to obtain the regular expression. Error: ") +
        error.what());
}

}  // namespace

bool CpuAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                        const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!ParseCpuAnalyzerSettings(config, host_.processorCount, settings_)) {
        return PrintFailure("[CpuAnalyzer] Failed to parse cpu config!");
    }
    if (!ProcessCpuInfo(stopFlag)) {
        return PrintFailure("[CpuAnalyzer] Failed to process cpu info!");
    }
    cost.Record(kName, dataPath);
    PrintLine("[CpuAnalyzer] CpuAnalyzer Finished!");
    return true;
}

bool CpuAnalyzer::ProcessCpuInfo(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure("[CpuAnalyzer] Failed to process cpu analyzer because of stopFlag!");
    }
    const bool needsUsage = Wants("global") || Wants("process_set");
    const bool hasUsage = needsUsage && ReadUsageLog();
    bool succeeded = hasUsage || !needsUsage;
    if (hasUsage && Wants("global") && !IsSet(stopFlag)) {
        succeeded = AnalyzeGlobal() && succeeded;
    }
    if (hasUsage && Wants("process_set") && !IsSet(stopFlag)) {
        succeeded = AnalyzeProcessSets() && succeeded;
    }
    if (!IsSet(stopFlag)) {
        FindLog(cpu_files::kCoresLog, coresFile_);
        if (!coresFile_.path.empty() && Wants("core") && !AnalyzeCores()) {
            succeeded = PrintFailure("[CpuAnalyzer] Failed to analyze Cores.");
        }
    }
    if (!IsSet(stopFlag)) {
        succeeded = WriteLoading() && succeeded;
    }
    return succeeded;
}

void CpuAnalyzer::FindLog(const NumberedFile& file, LogFile& log) const {
    const auto files = file.FindAll(dataPath_);
    log.path = files.empty() ? "" : files.front();
}

bool CpuAnalyzer::ReadUsageLog() {
    FindLog(cpu_files::kUsageLog, usageFile_);
    if (usageFile_.path.empty()) {
        return PrintFailure(
            "[CpuAnalyzer] The CpuCollector does not output the soc_gea_cpu_usage_info_1 rawfile.");
    }
    const FileResult result = ReadFile(usageFile_.path, usageFile_.text);
    if (result == FileResult::CannotOpen) {
        return PrintFailure("[CpuAnalyzer] Cannot find cpuGlobalData file: " + usageFile_.path);
    }
    if (result == FileResult::Failed || usageFile_.text.empty()) {
        return PrintFailure("[CpuAnalyzer] The file is not found or empty, check your file: " +
                            usageFile_.path);
    }
    try {
        usage_ = ParseUsageLog(usageFile_.text, patterns_);
    } catch (const std::out_of_range& error) {
        return PrintTableFault(error);
    }
    ranked_ = RankProcesses(usage_);
    return true;
}

bool CpuAnalyzer::AnalyzeGlobal() {
    const std::string time = GetFileTimestamp(usageFile_.path);
    const CpuGlobalFindings findings = FindGlobal(usage_, settings_);
    const std::string path = cpu_files::kGlobalAnalysis.Path(dataPath_, time);
    EventWriter events;
    WriteGlobalDocument(findings, time, events);
    events.Save(path);
    WriteTop10Document(ranked_, time, events);
    events.Save(path);
    WriteTotalDocument(findings, time, events);
    events.Save(path);
    SaveAllProcesses(cpu_files::kAllProcesses.Path(dataPath_, time));
    const TableTarget target = {cpu_files::kGlobalTable.Path(dataPath_, time), TableMode::Rewrite,
                                "[CpuAnalyzer] Error occurs when writing cpuglobal rawdata: "};
    return SaveTable(target, [this](CsvTable& table) { WriteGlobalTable(usage_, ranked_, table); });
}

void CpuAnalyzer::SaveAllProcesses(const std::string& path) const {
    const auto files = cpu_files::kUsageDocuments.FindAll(dataPath_);
    if (files.empty()) {
        PrintError(
            "[CpuAnalyzer] The CpuCollector does not output the soc_gea_cpu_usage_info jsonfile.");
        return;
    }
    LineFile documents(files.front());
    if (!documents.IsOpen()) {
        PrintError("[CpuAnalyzer] Failed to open the cpuUsageFile file - '" + files.front() + "'");
        return;
    }
    std::string_view document;
    EventWriter extended;
    for (std::size_t sample = 0; documents.Next(document); ++sample) {
        const bool hasRows = sample < usage_.sampleRows.Count();
        const auto rows =
            hasRows ? usage_.sampleRows.At(sample) : Batches<std::string_view>::Range{};
        if (!AddAllProcesses(document, rows, extended.Buffer())) {
            PrintError("[CpuAnalyzer] Exception occurs while parsing cpuUsageFile json file.");
            extended.Drop();
        } else if (!hasRows) {
            PrintError(
                "[CpuAnalyzer] The data volume of the analyzer is less than that of the "
                "collector.");
            extended.Drop();
        } else {
            extended.EndLine();
        }
        if (extended.Lines().size() >= kPiece) {
            extended.Save(path);
        }
    }
    if (!extended.Lines().empty()) {
        extended.Save(path);
    }
}

bool CpuAnalyzer::AnalyzeProcessSets() {
    const std::string time = GetFileTimestamp(usageFile_.path);
    const auto findings = FindProcessSets(usage_, ranked_, settings_);
    EventWriter events;
    WriteProcessSetDocument(findings, time, events);
    events.Save(cpu_files::kSelectedAnalysis.Path(dataPath_, time));
    const TableTarget target = {cpu_files::kSelectedTable.Path(dataPath_, time), TableMode::Append,
                                "[CpuAnalyzer] Error occurs when writing process set rawdata: "};
    return SaveTable(target,
                     [&](CsvTable& table) { WriteProcessSetTable(usage_, findings, table); });
}

bool CpuAnalyzer::AnalyzeCores() {
    if (ReadFile(coresFile_.path, coresFile_.text) != FileResult::Ok || coresFile_.text.empty()) {
        return PrintFailure("[CpuAnalyzer] The file is not found or empty, check your file: " +
                            coresFile_.path);
    }
    try {
        cores_ = ParseCoresLog(coresFile_.text, patterns_);
    } catch (const std::out_of_range& error) {
        return PrintTableFault(error);
    }
    return SaveCores();
}

bool CpuAnalyzer::SaveCores() {
    const std::string time = GetFileTimestamp(coresFile_.path);
    EventWriter events;
    WriteCoresDocument(FindCores(cores_, settings_), time, events);
    events.Save(cpu_files::kCoreAnalysis.Path(dataPath_, time));
    const TableTarget target = {cpu_files::kCoreTable.Path(dataPath_, time), TableMode::Rewrite,
                                "[CpuAnalyzer] Error occurs when writing cpu cores rawdata: "};
    return SaveTable(target, [this](CsvTable& table) { WriteCoreTable(cores_, table); }) ||
           PrintFailure("[CpuAnalyzer] Failed to Write Cores RawData.");
}

bool CpuAnalyzer::WriteLoading() {
    if (!cores_.head.timeStamps.empty()) {
        return SaveLoading(coresFile_.path,
                           [this](CsvTable& table) {
                               WriteCoresLoadingTable(usage_, cores_, settings_.processors, table);
                           }) ||
               PrintFailure("[CpuAnalyzer] Failed to Write cores CpuLoading RawData.");
    }
    if (!usage_.head.timeStamps.empty()) {
        return SaveLoading(usageFile_.path,
                           [this](CsvTable& table) { WriteGlobalLoadingTable(usage_, table); }) ||
               PrintFailure("[CpuAnalyzer] Failed to Write global CpuLoading RawData.");
    }
    if (usageFile_.path.empty() && coresFile_.path.empty()) {
        const NumberedFile& log = Wants("core") ? cpu_files::kCoresLog : cpu_files::kUsageLog;
        PrintError("[CpuAnalyzer] The file path: " + dataPath_ + log.folder + log.prefix +
                   " does not exist!");
    }
    return true;
}

bool CpuAnalyzer::SaveLoading(const std::string& source,
                              const std::function<void(CsvTable&)>& fill) const {
    if (!ResolvePath(dataPath_ + cpu_files::kRawDir)) {
        return PrintFailure("[CpuAnalyzer] Can't get real path");
    }
    return SaveTable(
        {cpu_files::kLoadingTable.Path(dataPath_, GetFileTimestamp(source)), TableMode::Append,
         "[CpuAnalyzer] Error occurs when writing cpuLoading rawdata: "},
        fill);
}

}  // namespace zarn
