#include "analyzers/correlation/correlation_analyzer.h"

#include <utility>

#include "analyzers/correlation/correlation_aicore.h"
#include "analyzers/correlation/correlation_cpu.h"
#include "analyzers/correlation/correlation_ddr.h"
#include "analyzers/correlation/correlation_sched.h"
#include "formats/correlation.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/csv_table.h"

namespace zarn {

CorrelationAnalyzer::CorrelationAnalyzer(std::string name, const Host& host)
    : BasicAnalyzer(std::move(name)), host_(host) {}

bool CorrelationAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                                const StopFlag* stopFlag) {
    const MissionCost cost;
    if (!ReadCorrelationSettings(config, kName, settings_)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to parse ddr config.");
    }
    if (!InitPath(dataPath)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to initialize file path.");
    }
    if (!Collect(dataPath, stopFlag)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to process info.");
    }
    if (!Save(stopFlag)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to save info.");
    }
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

bool CorrelationAnalyzer::InitPath(const std::string& dataPath) {
    const std::string folder = dataPath + correlation_files::kCsvFolder;
    if (!CreateDirectory(folder)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to create directory. ");
    }
    PrintLine("[CorrelationAnalyzer] Create output directory successfully, the dir is " + folder);
    if (!host_.clock.currentTime(time_)) {
        return PrintFailure("[CorrelationAnalyzer] Failed to get curr timeStamp.");
    }
    outputPath_ = correlation_files::kTable.Path(dataPath, time_);
    return true;
}

// A source that cannot take part has said so, and stays: when it is asked to save it says that too.
bool CorrelationAnalyzer::Collect(const std::string& dataPath, const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure(
            "[CorrelationAnalyzer] Failed to process analyzer because of stopFlag.");
    }
    const CorrelationContext context = {dataPath, host_.runner};
    sources_["aicore"] = std::make_unique<CorrelationAicore>(context);
    sources_["cpu"] = std::make_unique<CorrelationCpu>(context);
    sources_["ddr"] = std::make_unique<CorrelationDdr>(context);
    sources_["sched"] = std::make_unique<CorrelationSched>(context);
    times_ = std::make_unique<TimeSet>();
    for (const auto& [name, source] : sources_) {
        (void)source->Collect(settings_, *times_);
    }
    times_->Sort();
    return true;
}

bool CorrelationAnalyzer::Save(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        return PrintFailure(
            "[CorrelationAnalyzer] Failed to save output file because of stopFlag.");
    }
    if (!WriteTimes()) {
        return PrintFailure("[CorrelationAnalyzer] Failed to write time stamp.");
    }
    times_.reset();
    for (const auto& [name, source] : sources_) {
        if (source->Save(outputPath_)) {
            PrintLine("[CorrelationAnalyzer] Save " + name + " data successfully");
        }
    }
    return true;
}

// The first form of the table: its rows without the sources' columns.
bool CorrelationAnalyzer::WriteTimes() {
    FileReplacer file(outputPath_);
    CsvTable table([&file](std::string_view piece) {
        file.Add(piece);
        return true;
    });
    table.Cell("happen_time");
    table.EndLine();
    for (const TimeDigits& time : *times_) {
        table.TimeCell(time.Text());
        table.EndLine();
    }
    table.Finish();
    const FileResult result = file.Keep();
    if (result == FileResult::CannotOpen) {
        PrintError("[CorrelationAnalyzer] Failed to open file for writting time stamp.");
    }
    return result == FileResult::Ok;
}

}  // namespace zarn
