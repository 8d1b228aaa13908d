#include "analyzers/mem/mem_analyzer.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <tuple>
#include <utility>

#include "analyzers/mem/mem_sample_reader.h"
#include "formats/mem.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"

namespace zarn {
namespace {

// Time stamps of any length, as the numbers that they are.
bool IsEarlier(const std::string& a, const std::string& b) {
    const auto digits = [](const std::string& path) {
        const std::string time = GetFileTimestamp(path);
        return time.substr(std::min(time.find_first_not_of('0'), time.size()));
    };
    const std::string left = digits(a);
    const std::string right = digits(b);
    return std::make_tuple(left.size(), left, a) < std::make_tuple(right.size(), right, b);
}

// The files of that kind in the order of their time stamps; none after `words`.
std::vector<std::string> FindSamples(const NumberedFile& file, const std::string& dataPath,
                                     const char* words) {
    std::vector<std::string> paths = file.FindAll(dataPath);
    if (paths.empty()) {
        PrintError(words);
    }
    std::sort(paths.begin(), paths.end(), IsEarlier);
    return paths;
}

using ReadSamples = std::function<bool(const NextLine& next, const std::string& path)>;

// Reads the files one after another. `header` stands before the reason of what else goes wrong,
// such as memory that does not suffice.
bool LoadFiles(const std::vector<std::string>& paths, const char* header, const ReadSamples& read) {
    try {
        return std::all_of(paths.begin(), paths.end(), [&read](const std::string& path) {
            LineFile file(path);
            if (!file.IsOpen()) {
                return PrintFailure("[MemAnalyzer] Could not open the file: \"" + path + "\"");
            }
            return read(LinesOf(file), path);
        });
    } catch (const std::exception& error) {
        return PrintFailure(header + std::string(error.what()));
    }
}

}  // namespace

MemAnalyzer::MemAnalyzer(std::string name, const Host& /*host*/) : BasicAnalyzer(std::move(name)) {}

bool MemAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                        const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!ReadMemAnalyzerSettings(config, kName, settings_)) {
        return PrintFailure("[MemAnalyzer]: Failed to parse mem config!");
    }
    if (IsSet(stopFlag)) {
        PrintLine("[MemAnalyzer] Stop process memory data because of stopFlag!");
    } else if (!Analyze()) {
        return false;
    }
    cost.Record(kName, dataPath);
    return true;
}

bool MemAnalyzer::Analyze() const {
    const bool system = !settings_.Wants(kSystemMemJob) || AnalyzeSystem() ||
                        PrintFailure("[MemAnalyzer]: Failed to analy system mem!");
    const bool processes = !settings_.Wants(kProcessMemJob) || AnalyzeProcesses() ||
                           PrintFailure("[MemAnalyzer]: Failed to analy process mem!");
    return system && processes;
}

bool MemAnalyzer::AnalyzeSystem() const {
    const std::vector<std::string> paths = FindSamples(
        mem_files::kSystemSamples, dataPath_, "[MemAnalyzer] Not exist system mem data file!");
    MemSystemSamples samples;
    const auto read = [&](const NextLine& next, const std::string& path) {
        return ReadMemSystemSamples(next, path, settings_.systemField, samples);
    };
    return !paths.empty() && LoadFiles(paths, "[MemAnalyzer]: Error occurs system json: ", read) &&
           SaveSystem(samples, GetFileTimestamp(paths.front()));
}

bool MemAnalyzer::AnalyzeProcesses() const {
    const std::vector<std::string> paths = FindSamples(
        mem_files::kProcessSamples, dataPath_, "[MemAnalyzer] Not exist process mem data file!");
    const MemProcessQuery query = {settings_.processField, settings_.processNames};
    MemProcessSamples samples;
    const auto read = [&](const NextLine& next, const std::string& path) {
        return ReadMemProcessSamples(next, path, query, samples);
    };
    return !paths.empty() && LoadFiles(paths, "[MemAnalyzer]: Error occurs: ", read) &&
           SaveProcesses(samples, GetFileTimestamp(paths.front()));
}

bool MemAnalyzer::FindExtremes(const MemFrames& frames, MemFindings& findings) const {
    const float threshold = settings_.peakTroughtThreshold;
    if (!LocalMaxFrames(frames, threshold, findings.peaks)) {
        return PrintFailure("[MemAnalyzer]: Failed to get local max frame!");
    }
    return LocalMinFrames(frames, threshold, findings.troughs) ||
           PrintFailure("[MemAnalyzer]: Failed to get local min frame!");
}

bool MemAnalyzer::SaveSystem(const MemSystemSamples& samples, const std::string& time) const {
    MemFindings findings;
    if (!FindExtremes(samples.frames, findings)) {
        return false;
    }
    if (!SummarizeMemFrames(samples.frames, findings.summary)) {
        return PrintFailure(
            "[MemAnalyzer]: Failed to create system ana json get frame min max avg!");
    }
    EventWriter events;
    BeginMemDocument(mem_files::ObjectId(mem_files::kSystemAnalysis), time, events);
    WriteMemFindings(nullptr, samples.frames, samples.moments, findings, events);
    EndMemDocument(events);
    events.Save(mem_files::kSystemAnalysis.Path(dataPath_, time));
    return true;
}

// Where no process has both a peak and a trough there is nothing to tell.
bool MemAnalyzer::SaveProcesses(const MemProcessSamples& samples, const std::string& time) const {
    EventWriter events;
    BeginMemDocument(mem_files::ObjectId(mem_files::kProcessAnalysis), time, events);
    bool hasExtremes = false;
    for (const auto& [process, frames] : samples.processes) {
        MemFindings findings;
        if (!FindExtremes(frames, findings)) {
            return false;
        }
        if (!SummarizeMemFrames(frames, findings.summary)) {
            return PrintFailure(
                "[MemAnalyzer]: Failed to create process ana json get frame min max avg!");
        }
        hasExtremes = hasExtremes || (!findings.peaks.empty() && !findings.troughs.empty());
        WriteMemFindings(&process, frames, samples.moments, findings, events);
    }
    EndMemDocument(events);
    if (!hasExtremes) {
        PrintError("[MemAnalyzer]: the peak trought threshold is too high, select a new one!");
        return true;
    }
    events.Save(mem_files::kProcessAnalysis.Path(dataPath_, time));
    return true;
}

}  // namespace zarn
