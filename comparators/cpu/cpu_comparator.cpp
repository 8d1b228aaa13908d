#include "comparators/cpu/cpu_comparator.h"

#include <utility>

#include "comparators/cpu/cpu_figures_parser.h"
#include "comparators/cpu/cpu_sample_reader.h"
#include "formats/cpu.h"
#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"
#include "kit/csv_table.h"

namespace zarn {
namespace {

// The collector reads lines in pieces, so that a longer one is none of its own.
constexpr std::size_t kQuotedText = kCommandLinePiece;

std::string Quoted(std::string_view text) {
    return std::string(text.substr(0, kQuotedText));
}

void PrintSummaryFailure(std::string_view unknownKind, std::string_view line) {
    if (!unknownKind.empty()) {
        PrintError("[CpuComparator] Incorrect CpuField " + Quoted(unknownKind));
        PrintError("[CpuComparator] Invalid CpuFieldType.");
    }
    PrintError("[CpuComparator] Failed to ParseCommonInfo " + Quoted(line));
}

// The figures of the lines that can be read count, whatever the others hold.
void ParseSystemSample(const std::vector<std::string_view>& lines, SystemValues& values) {
    for (const SummaryLine kind : kSummaryLines) {
        const auto index = static_cast<std::size_t>(kind);
        if (index >= lines.size()) {
            PrintSummaryFailure("", lines.back());
            return;
        }
        if (const auto failure = ParseSummaryLine(kind, lines[index], values)) {
            PrintSummaryFailure(failure->unknownKind, lines[index]);
        }
    }
}

void PrintTimeFailure(TimeFailure failure, const std::string& process) {
    switch (failure) {
        case TimeFailure::None:
            break;
        case TimeFailure::Time:
            PrintError("[CpuComparator] Failed to parse cpu " + process + " time");
            break;
        case TimeFailure::Minutes:
            PrintError("[CpuComparator] Failed to parse cpu " + process + " minute value.");
            break;
        case TimeFailure::Seconds:
            PrintError("[CpuComparator] Failed to parse cpu " + process + " second value.");
            break;
    }
}

}  // namespace

CpuComparator::CpuComparator(std::string name, std::map<std::string, std::string> versionMap,
                             const Host& /*host*/)
    : BasicComparator(std::move(name), std::move(versionMap)) {}

bool CpuComparator::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadCpuComparisonSettings(config, settings_);
}

bool CpuComparator::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    stopFlag_ = stopFlag;
    std::string timeStamp;
    if (!GetCurrentTimeString(timeStamp)) {
        return PrintFailure("[CpuComparator] Failed to get time stamp!");
    }
    if (!Compare(dataPath)) {
        return PrintFailure("[CpuComparator] Failed to process cpu comparator!");
    }
    cost.Record(Name(), dataPath);
    return true;
}

bool CpuComparator::Compare(const std::string& dataPath) {
    const std::string targetDir = dataPath + cpu_files::kCsvDir;
    if (!CreateDirectory(targetDir)) {
        return PrintFailure("[CpuComparator] Failed to create the directory " + targetDir);
    }
    if (!Read()) {
        return PrintFailure("[CpuComparator] Failed to read cpu info!");
    }
    Reduce();
    if (!Write(targetDir)) {
        return PrintFailure("[CpuComparator] Failed to write cpu info!");
    }
    return true;
}

bool CpuComparator::Read() {
    for (const auto& [version, root] : VersionMap()) {
        if (TakeStop()) {
            return true;
        }
        const VersionTree tree{Name(), version, root};
        VersionFigures figures;
        figures.processes.resize(settings_.processes.size());
        if (!ReadSystemFigures(tree, figures.system)) {
            return false;
        }
        if (settings_.Has(CpuComparisonSettings::kSelectedProcessJob) &&
            !ReadProcessFigures(tree, figures.processes)) {
            return PrintFailure("[CpuComparator] Failed to read log file.");
        }
        figures_.push_back(std::move(figures));
    }
    return true;
}

bool CpuComparator::ReadSystemFigures(const VersionTree& tree, SystemValues& values) const {
    std::vector<std::string> texts;
    if (!ReadVersionFiles(tree, cpu_files::kGlobalLog, texts)) {
        return false;
    }
    if (!settings_.Has(CpuComparisonSettings::kGlobalJob)) {
        return true;
    }
    std::vector<std::string_view> lines;
    for (const std::string& text : texts) {
        for (SampleCursor samples(text); samples.Next(lines);) {
            ParseSystemSample(lines, values);
        }
    }
    return true;
}

bool CpuComparator::ReadProcessFigures(const VersionTree& tree,
                                       std::vector<ProcessValues>& values) const {
    std::vector<std::string> texts;
    if (!ReadVersionFiles(tree, cpu_files::kUsageLog, texts)) {
        return false;
    }
    const std::vector<std::string>& names = settings_.processes;
    const std::vector<ProcessRows> rows = FindProcessRows(texts, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!rows[i].unique) {
            PrintLine("[CpuComparator] Warning: The process " + names[i] +
                      " is not unique in this version, will skip it.");
        }
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        for (const std::string_view line : rows[i].lines) {
            if (rows[i].unique) {
                PrintTimeFailure(ParseProcessRow(line, values[i]), names[i]);
            }
        }
    }
    return true;
}

void CpuComparator::Reduce() {
    for (const VersionFigures& figures : figures_) {
        if (TakeStop()) {
            return;
        }
        AddVersionToRows(settings_, figures, rows_);
    }
}

bool CpuComparator::Write(const std::string& targetDir) {
    std::vector<std::string> versions;
    for (const auto& [version, root] : VersionMap()) {
        versions.push_back(version);
    }
    const std::string table = ComparisonTable(versions, rows_, [this] { return TakeStop(); });
    const FileResult result = WriteFile(targetDir + cpu_files::kComparison, table);
    if (result == FileResult::CannotOpen) {
        PrintError("[CpuComparator] Failed to open the output file.");
    }
    return result == FileResult::Ok;
}

bool CpuComparator::TakeStop() {
    if (stopTaken_ || !IsSet(stopFlag_)) {
        return false;
    }
    stopTaken_ = true;
    PrintLine("[CpuComparator] StopFlag received, CPU comparator has stopped.");
    return true;
}

}  // namespace zarn
