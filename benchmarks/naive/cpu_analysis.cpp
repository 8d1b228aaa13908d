#include "benchmarks/naive/cpu_analysis.h"

#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <utility>
#include <vector>

#include "analyzers/cpu/cpu_analysis_documents.h"
#include "analyzers/cpu/cpu_analysis_tables.h"
#include "analyzers/cpu/cpu_findings.h"
#include "analyzers/cpu/cpu_patterns.h"
#include "formats/cpu.h"
#include "formats/run_tree.h"
#include "foundation/file_search.h"
#include "foundation/json.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "foundation/time.h"
#include "kit/event_writer.h"

namespace zarn::bench {
namespace {

using Rows = std::vector<std::string>;

// A log as records of its own texts; the views of `log` look into `texts`.
struct PlainUsageLog {
    std::vector<Rows> sampleRows;
    std::map<std::string, std::vector<double>> procValues;
    std::map<std::string, std::string> procCommands;
    std::vector<std::map<std::string, double>> perSampleProcs;  // pid to %CPU
    std::vector<std::string> timeStamps;
    std::vector<double> sampleTotals;
    std::map<std::string, std::vector<double>> fields;
    std::map<std::string, std::vector<double>> loads;
    std::vector<double> tasks;
};

const std::regex& Compiled(const char* name) {
    return CpuPatterns().at(name).compiled;
}

std::string RewrittenRow(std::vector<std::string> words) {
    if (words[4].back() == 'g') {
        double gibibytes = 0.0;
        (void)StringToDouble(words[4].substr(0, words[4].size() - 1), gibibytes);
        words[4] = FloatToString(gibibytes * 1024 * 1024, 1);
    }
    std::swap(words[0], words[1]);
    std::string row;
    for (const std::string& word : words) {
        row += row.empty() ? word : " " + word;
    }
    return row;
}

std::vector<Rows> FirstPass(const std::string& path) {
    std::ifstream file(path);
    std::vector<Rows> samples;
    std::string line;
    while (std::getline(file, line)) {
        std::vector<std::string> words;
        SplitString(line, " ", words);
        if (words.empty()) {
            continue;
        }
        if (words[0] == "top") {
            samples.emplace_back();
        } else if (words.size() >= 12 && IsDigitString(words[0]) && !samples.empty()) {
            samples.back().push_back(RewrittenRow(words));
        }
    }
    return samples;
}

void CloseSample(double& total, PlainUsageLog& log) {
    log.sampleTotals.push_back(total);
    total = 0.0;
}

void TakeProcess(const std::smatch& match, double& total, PlainUsageLog& log) {
    const std::string pid = match[1];
    const double usage = std::stod(match[2]);
    total += usage;
    log.procValues[pid].push_back(usage);
    log.procCommands[pid] = match[3];
    log.perSampleProcs.back()[pid] = usage;
}

void TakeHead(const std::string& line, PlainUsageLog& log) {
    std::smatch match;
    if (std::regex_search(line, match, Compiled("regexpTop"))) {
        log.loads["avgLoad1min"].push_back(std::stod(match[2]));
        log.loads["avgLoad5min"].push_back(std::stod(match[3]));
        log.loads["avgLoad15min"].push_back(std::stod(match[4]));
    }
    if (std::regex_search(line, match, Compiled("regexpTasks"))) {
        log.tasks.push_back(std::stod(match[1]));
    }
}

void TakeFields(const std::smatch& match, std::size_t offset,
                std::map<std::string, std::vector<double>>& fields) {
    static const std::map<std::string, std::size_t> groups = {
        {"us", 1}, {"sy", 2}, {"id", 4}, {"hi", 6}, {"si", 7}};
    for (const auto& [name, group] : groups) {
        fields[name].push_back(std::stod(match[group + offset]));
    }
}

void SecondPass(const std::string& path, PlainUsageLog& log) {
    std::ifstream file(path);
    std::string line;
    double total = 0.0;
    while (std::getline(file, line)) {
        std::smatch match;
        if (std::regex_search(line, match, Compiled("regexpTimeStamp"))) {
            if (!log.timeStamps.empty()) {
                CloseSample(total, log);
            }
            log.timeStamps.push_back(match.str());
            log.perSampleProcs.emplace_back();
        }
        TakeHead(line, log);
        if (std::regex_search(line, match, Compiled("regexpCpu"))) {
            TakeFields(match, 0, log.fields);
        }
        if (std::regex_search(line, match, Compiled("regexpProcInfo"))) {
            TakeProcess(match, total, log);
        }
    }
    CloseSample(total, log);
}

// ---- What the findings and tables are made from: the same records, looking into the plain ones.

CpuSeries SeriesOf(const std::vector<double>& values) {
    CpuSeries series{values, {}};
    for (std::size_t i = 0; i < values.size(); ++i) {
        series.samples.push_back(i);
    }
    return series;
}

CpuFieldSeries FieldsOf(const std::map<std::string, std::vector<double>>& fields) {
    CpuFieldSeries series;
    for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
        const auto found = fields.find(kCpuFieldNames[field]);
        series[field] = SeriesOf(found == fields.end() ? std::vector<double>() : found->second);
    }
    return series;
}

CpuLogHead HeadOf(const PlainUsageLog& plain) {
    CpuLogHead head;
    head.timeStamps.assign(plain.timeStamps.begin(), plain.timeStamps.end());
    for (const auto& [name, values] : plain.loads) {
        head.loads[name] = values;
    }
    head.tasks = plain.tasks;
    return head;
}

CpuUsageLog RecordsOf(const PlainUsageLog& plain) {
    CpuUsageLog log;
    log.head = HeadOf(plain);
    log.summary = FieldsOf(plain.fields);
    log.sampleTotals = plain.sampleTotals;
    std::map<std::string, std::uint32_t> numbers;
    for (const auto& [pid, values] : plain.procValues) {
        const auto number = static_cast<std::uint32_t>(log.processes.size());
        numbers[pid] = number;
        log.processes.push_back({pid, plain.procCommands.at(pid), values});
        log.commands.push_back(plain.procCommands.at(pid));
    }
    for (const auto& sample : plain.perSampleProcs) {
        for (const auto& [pid, usage] : sample) {
            log.sampleProcs.Add({numbers[pid], numbers[pid], usage});
        }
        log.sampleProcs.Close();
    }
    return log;
}

void SaveTable(const std::string& path, std::ios::openmode mode,
               const std::function<void(CsvTable&)>& fill) {
    std::ofstream file(path, mode);
    CsvTable table([&file](std::string_view piece) {
        file << piece;
        return file.good();
    });
    fill(table);
}

void SaveAllProcesses(const std::string& documents, const std::string& path,
                      const std::vector<Rows>& samples) {
    std::ifstream file(documents);
    std::string line;
    for (std::size_t sample = 0; sample < samples.size() && std::getline(file, line); ++sample) {
        JsonDocument document;
        if (!ParseJson(line, document)) {
            continue;
        }
        JsonAllocator& allocator = document.GetAllocator();
        JsonValue processes(rapidjson::kArrayType);
        for (const std::string& row : samples[sample]) {
            JsonValue process(rapidjson::kObjectType);
            process.AddMember("procInfo", JsonValue(row, allocator), allocator);
            processes.PushBack(process, allocator);
        }
        document["content"].AddMember("allProcsInfo", processes, allocator);
        SaveJsonToFile(path, document);
    }
}

CpuCoresLog PlainCores(const std::string& path, PlainUsageLog& plain,
                       std::map<std::string, std::map<std::string, std::vector<double>>>& cores) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::smatch match;
        if (std::regex_search(line, match, Compiled("regexpTimeStamp"))) {
            plain.timeStamps.push_back(match.str());
        }
        TakeHead(line, plain);
        if (std::regex_search(line, match, Compiled("regexpCoresCpu"))) {
            TakeFields(match, 1, cores[match[1]]);
        }
    }
    CpuCoresLog log;
    log.head = HeadOf(plain);
    for (const auto& [name, fields] : cores) {
        log.cores.push_back({name, FieldsOf(fields)});
    }
    return log;
}

}  // namespace

bool AnalyzeCpuPlainly(const std::string& dataPath, const CpuAnalyzerSettings& settings) {
    const auto usageLogs = cpu_files::kUsageLog.FindAll(dataPath);
    const auto coresLogs = cpu_files::kCoresLog.FindAll(dataPath);
    const auto documents = cpu_files::kUsageDocuments.FindAll(dataPath);
    if (usageLogs.empty() || coresLogs.empty() || documents.empty()) {
        return false;
    }
    PlainUsageLog plain;
    plain.sampleRows = FirstPass(usageLogs[0]);
    SecondPass(usageLogs[0], plain);
    const CpuUsageLog usage = RecordsOf(plain);
    const auto ranked = RankProcesses(usage);
    const std::string time = GetFileTimestamp(usageLogs[0]);
    const auto path = [&](const NumberedFile& file) { return file.Path(dataPath, time); };

    const CpuGlobalFindings global = FindGlobal(usage, settings);
    EventWriter events;
    WriteGlobalDocument(global, time, events);
    events.Save(path(cpu_files::kGlobalAnalysis));
    WriteTop10Document(ranked, time, events);
    events.Save(path(cpu_files::kGlobalAnalysis));
    WriteTotalDocument(global, time, events);
    events.Save(path(cpu_files::kGlobalAnalysis));
    SaveAllProcesses(documents[0], path(cpu_files::kAllProcesses), plain.sampleRows);
    SaveTable(path(cpu_files::kGlobalTable), std::ios::trunc,
              [&](CsvTable& text) { WriteGlobalTable(usage, ranked, text); });

    const auto sets = FindProcessSets(usage, ranked, settings);
    WriteProcessSetDocument(sets, time, events);
    events.Save(path(cpu_files::kSelectedAnalysis));
    SaveTable(path(cpu_files::kSelectedTable), std::ios::app,
              [&](CsvTable& text) { WriteProcessSetTable(usage, sets, text); });

    PlainUsageLog plainCores;
    std::map<std::string, std::map<std::string, std::vector<double>>> fields;
    const CpuCoresLog cores = PlainCores(coresLogs[0], plainCores, fields);
    WriteCoresDocument(FindCores(cores, settings), time, events);
    events.Save(path(cpu_files::kCoreAnalysis));
    SaveTable(path(cpu_files::kCoreTable), std::ios::trunc,
              [&](CsvTable& text) { WriteCoreTable(cores, text); });
    SaveTable(path(cpu_files::kLoadingTable), std::ios::app, [&](CsvTable& text) {
        WriteCoresLoadingTable(usage, cores, settings.processors, text);
    });
    return true;
}

}  // namespace zarn::bench
