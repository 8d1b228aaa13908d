#include "benchmarks/naive/correlation_join.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "benchmarks/support/correlation_generator.h"
#include "formats/ai_core.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "foundation/json.h"
#include "foundation/numbers.h"

namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

__extension__ using Number = unsigned __int128;

constexpr std::size_t kDigits = 20;

Number NumberOf(const std::string& digits) {
    Number number = 0;
    for (const char digit : digits) {
        number = number * 10 + static_cast<Number>(digit - '0');
    }
    return number;
}

std::string DigitsOf(Number number) {
    std::string digits;
    for (; number != 0; number /= 10) {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(number % 10)));
    }
    return digits;
}

bool AllDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

struct Row {
    std::string time;  // 20 digits
    std::vector<std::string> cells;
};

using Spans = std::vector<std::pair<std::string, std::string>>;

struct Peaks {
    std::string head;
    Spans spans;
};

// Columns of one file.
struct Group {
    std::vector<std::string> heads;
    std::function<std::function<bool(Row&)>()> open;  // gives what gives the next row
    std::vector<Peaks> peaks;
};

Spans SpansOf(const std::vector<std::string>& peaks, std::uint32_t interval) {
    Spans spans;
    for (const std::string& peak : peaks) {
        const Number middle = NumberOf(peak);
        std::string lower = DigitsOf(middle > interval ? middle - interval : 0);
        std::string upper = DigitsOf(middle + interval);
        lower.insert(0, kDigits - lower.size(), '0');
        upper = upper.size() > kDigits ? std::string(kDigits, '9')
                                       : std::string(kDigits - upper.size(), '0') + upper;
        spans.emplace_back(lower, upper);
    }
    return spans;
}

bool NextLine(std::ifstream& file, std::string& line) {
    if (!std::getline(file, line)) {
        return false;
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

// The pieces before each delimiter, and what stands behind the last one if that is something.
std::vector<std::string> Cells(const std::string& line, char delimiter) {
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, delimiter);) {
        cells.push_back(cell);
    }
    return cells;
}

std::function<bool(Row&)> TableRows(const std::string& path, std::size_t columns) {
    auto file = std::make_shared<std::ifstream>(path);
    std::string head;
    NextLine(*file, head);
    return [file, columns](Row& row) {
        for (std::string line; NextLine(*file, line);) {
            std::vector<std::string> cells = Cells(line, ',');
            const std::string stamp = cells.empty() ? "" : cells.front();
            if (stamp.size() == 18 && stamp[0] == '\'' && AllDigits(stamp.substr(1))) {
                row.time = stamp.substr(1) + "000";
                cells.erase(cells.begin());
                cells.resize(columns);
                row.cells = cells;
                return true;
            }
        }
        return false;
    };
}

// The six columns of a line of a history: a task whose name has blanks goes on to the next piece
// that ends in "]". Nothing if there are fewer.
std::vector<std::string> ColumnsOf(const std::string& line) {
    const std::vector<std::string> all = Cells(line, ' ');
    std::vector<std::string> pieces;
    std::copy_if(all.begin(), all.end(), std::back_inserter(pieces),
                 [](const std::string& piece) { return !piece.empty(); });
    if (pieces.size() < 6) {
        return {};
    }
    const auto isNumber = [&pieces](std::size_t i) { return NumberIn(pieces[i]).has_value(); };
    const auto endsTask = [](const std::string& piece) { return piece.back() == ']'; };
    std::size_t behind = 3;
    if (!endsTask(pieces[2]) && !(isNumber(3) && isNumber(4) && isNumber(5))) {
        const auto end = std::find_if(pieces.begin() + 3, pieces.end(), endsTask);
        if (end != pieces.end()) {
            behind = static_cast<std::size_t>(end - pieces.begin()) + 1;
        }
    }
    if (pieces.size() < behind + 3) {
        return {};
    }
    std::string task = pieces[2];
    if (behind > 3) {
        const std::size_t begin =
            line.find(pieces[2], line.find(pieces[1], line.find(pieces[0]) + pieces[0].size()) +
                                     pieces[1].size());
        std::size_t at = begin + pieces[2].size();
        for (std::size_t i = 3; i < behind; ++i) {
            at = line.find(pieces[i], at) + pieces[i].size();
        }
        task = line.substr(begin, at - begin);
    }
    return {pieces[0], pieces[1], task, pieces[behind], pieces[behind + 1], pieces[behind + 2]};
}

std::function<bool(Row&)> HistoryRows(const std::string& path) {
    auto file = std::make_shared<std::ifstream>(path);
    std::string head;
    for (int i = 0; i < 3; ++i) {
        NextLine(*file, head);
    }
    const Number boot = NumberOf(std::string(CorrelationGenerator::kBoot) + "000000");
    return [file, boot](Row& row) {
        for (std::string line; NextLine(*file, line);) {
            const std::vector<std::string> columns = ColumnsOf(line);
            std::string digits = columns.empty() ? "" : columns.front();
            const std::size_t point = digits.find('.');
            if (point != std::string::npos) {
                digits.erase(point, 1);
            }
            if (!AllDigits(digits) || digits.size() > kDigits) {
                continue;
            }
            row.time = DigitsOf(boot + NumberOf(digits));
            if (row.time.size() != kDigits) {
                continue;
            }
            row.cells.assign(columns.begin() + 1, columns.end());
            for (std::string& cell : row.cells) {
                std::replace(cell.begin(), cell.end(), ',', ' ');
            }
            return true;
        }
        return false;
    };
}

// The document on the first line of a file; nothing if there is no file.
std::optional<JsonDocument> DocumentOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    JsonDocument document;
    if (!std::getline(file, line) || !ParseJson(line, document)) {
        return std::nullopt;
    }
    return document;
}

std::vector<std::string> StampsOf(const JsonValue& peaks) {
    std::vector<std::string> stamps;
    for (const JsonValue& peak : peaks.GetArray()) {
        stamps.push_back(std::string(peak["timeStamp"].GetString()) + "000");
    }
    return stamps;
}

class Correlation {
public:
    Correlation(const std::string& dataPath, std::uint32_t interval, const std::string& job)
        : dataPath_(dataPath), interval_(interval) {
        AddAiCores();
        AddTable(cpu_files::kLoadingTable, "cpu_");
        if (hasTable_) {
            AddCpuPeaks();
        }
        AddTable(ddr_files::kAnalysisTable, "ddr_");
        if (hasTable_) {
            AddDdrPeaks();
        }
        AddHistories(job);
    }

    void Write(const std::string& path) const {
        std::set<std::string> times;
        for (const auto& source : sources_) {
            for (const Group& group : source) {
                const auto next = group.open();
                for (Row row; next(row);) {
                    times.insert("'" + row.time);
                }
            }
        }
        {
            std::ofstream file(path);
            file << "happen_time,\n";
            for (const std::string& time : times) {
                file << time << ",\n";
            }
        }
        for (const auto& source : sources_) {
            Join(path, source);
        }
    }

private:
    static constexpr const char* kTime = CorrelationGenerator::kTime;

    void AddPeaks(Group& group, const std::string& head, const std::vector<std::string>& peaks) {
        if (!peaks.empty()) {
            group.peaks.push_back({head, SpansOf(peaks, interval_)});
        }
    }

    void AddTable(const NumberedFile& kind, const std::string& prefix) {
        const std::string path = kind.Path(dataPath_, kTime);
        hasTable_ = fs::exists(path);
        if (!hasTable_) {
            return;
        }
        Group group;
        std::ifstream file(path);
        std::string head;
        NextLine(file, head);
        group.heads = Cells(head, ',');
        if (!group.heads.empty()) {
            group.heads.erase(group.heads.begin());
        }
        const std::size_t columns = group.heads.size();
        for (std::string& name : group.heads) {
            name.insert(0, prefix);
        }
        group.open = [path, columns] { return TableRows(path, columns); };
        sources_.push_back({group});
    }

    void AddDdrPeaks() {
        if (const auto document = DocumentOf(ddr_files::kAnalysis.Path(dataPath_, kTime))) {
            for (const JsonValue& master : (*document)["content"].GetArray()) {
                if (std::string(master["mpam_name"].GetString()) == "total") {
                    AddPeaks(sources_.back().front(), "peak_ddr_total", StampsOf(master["peak"]));
                }
            }
        }
    }

    void AddCpuPeaks() {
        Group& group = sources_.back().front();
        if (const auto document = DocumentOf(cpu_files::kGlobalAnalysis.Path(dataPath_, kTime))) {
            AddPeaks(group, "peak_cpu_total", StampsOf((*document)["content"]["id"]["peak"]));
        }
        if (const auto document = DocumentOf(cpu_files::kCoreAnalysis.Path(dataPath_, kTime))) {
            for (const JsonValue& core : (*document)["content"]["cpuUsage"].GetArray()) {
                AddPeaks(group, "peak_cpu_cpu" + std::string(core["coreID"].GetString()).substr(3),
                         StampsOf(core["id"]["peak"]));
            }
        }
    }

    void AddAiCores() {
        std::set<std::string> paths;
        std::error_code ignored;
        const std::string prefix = ai_core_files::kUsageDocuments.prefix;
        for (const auto& entry : fs::directory_iterator(dataPath_ + run_tree::kJsonDir, ignored)) {
            if (entry.path().filename().string().rfind(prefix, 0) == 0) {
                paths.insert(entry.path().string());
            }
        }
        std::map<std::string, std::vector<std::string>> samples;
        std::size_t columns = 0;
        for (const std::string& path : paths) {
            const auto document = DocumentOf(path);
            std::istringstream pieces((*document)["content"][0][kAiCoreMember].GetString());
            std::vector<std::string> cells;
            for (std::string piece; pieces >> piece;) {
                cells.push_back(piece);
            }
            const std::string time = (*document)["happenTime"].GetString();
            if (time.size() == 17 && AllDigits(time) && samples.count(time + "000") == 0) {
                samples[time + "000"] = cells;
                columns = std::max(columns, cells.size());
            }
        }
        if (!samples.empty()) {
            AddSamples(samples, columns);
        }
    }

    void AddSamples(std::map<std::string, std::vector<std::string>>& samples, std::size_t columns) {
        Group group;
        group.heads.emplace_back("aicore_average");
        for (std::size_t core = 1; core < columns; ++core) {
            group.heads.push_back("aicore_aicore" + std::to_string(core - 1));
        }
        double greatest = 0.0;
        std::vector<std::string> peak;
        for (auto& [time, cells] : samples) {
            const double average = std::strtod(cells.front().c_str(), nullptr);
            if (average > greatest) {
                greatest = average;
                peak = {time};
            }
            cells.resize(columns);
        }
        AddPeaks(group, "peak_aicore_average", peak);
        group.open = [samples] {
            auto at = std::make_shared<std::size_t>(0);
            return [samples, at](Row& row) {
                if (*at == samples.size()) {
                    return false;
                }
                const auto& [time, cells] = *std::next(samples.begin(), static_cast<long>(*at));
                row = {time, cells};
                ++*at;
                return true;
            };
        };
        sources_.push_back({group});
    }

    void AddHistories(const std::string& job) {
        std::vector<Group> groups;
        for (const CorrelationGenerator::History& history :
             CorrelationGenerator::HistoriesOf(job)) {
            const std::string path = dataPath_ + sched_files::kRawDir +
                                     sched_files::TimehistName(history.target, 1, kTime);
            const auto document =
                DocumentOf(dataPath_ + run_tree::kJsonDir +
                           sched_files::AnalysisName({job, history.analysis, kTime},
                                                     sched_files::kTimehistAnalysis));
            if (!fs::exists(path)) {
                continue;
            }
            if (!document) {
                return;
            }
            Group group;
            for (const char* column : {"cpu", "task_name", "wait_time", "sch_delay", "run_time"}) {
                group.heads.push_back(history.label + "_" + column);
            }
            const Number boot = NumberOf(std::string(CorrelationGenerator::kBoot) + "000000");
            std::vector<std::string> peaks;
            for (const JsonValue& row : (*document)["content"].GetArray()) {
                std::string digits = Cells(row["time"].GetString(), ' ').front();
                digits.erase(digits.find('.'), 1);
                peaks.push_back(DigitsOf(boot + NumberOf(digits)));
            }
            AddPeaks(group, "peak_" + history.label, peaks);
            group.open = [path] { return HistoryRows(path); };
            groups.push_back(group);
        }
        if (!groups.empty()) {
            sources_.push_back(groups);
        }
    }

    // A group on its way along the table.
    struct Walk {
        const Group* group;
        std::function<bool(Row&)> next;
        bool hasRow;
        Row row;
    };

    static void Extend(Walk& walk, const std::string& time, std::ofstream& to) {
        while (walk.hasRow && walk.row.time < time) {
            walk.hasRow = walk.next(walk.row);
        }
        if (walk.hasRow && walk.row.time == time) {
            for (const std::string& cell : walk.row.cells) {
                to << cell << ",";
            }
            walk.hasRow = walk.next(walk.row);
        } else {
            for (std::size_t i = 0; i < walk.group->heads.size(); ++i) {
                to << ",";
            }
        }
        for (const Peaks& peaks : walk.group->peaks) {
            bool inPeak = false;
            for (const auto& [lower, upper] : peaks.spans) {
                inPeak = inPeak || (lower <= time && time <= upper);
            }
            to << (inPeak ? 1 : 0) << ",";
        }
    }

    static void Join(const std::string& path, const std::vector<Group>& source) {
        std::ifstream from(path);
        std::ofstream to(path + ".plain");
        std::string line;
        std::getline(from, line);
        to << line;
        std::vector<Walk> walks;
        for (const Group& group : source) {
            for (const std::string& head : group.heads) {
                to << head << ",";
            }
            for (const Peaks& peaks : group.peaks) {
                to << peaks.head << ",";
            }
            walks.push_back({&group, group.open(), false, {}});
            walks.back().hasRow = walks.back().next(walks.back().row);
        }
        to << "\n";
        while (std::getline(from, line)) {
            to << line;
            for (Walk& walk : walks) {
                Extend(walk, line.substr(1, kDigits), to);
            }
            to << "\n";
        }
        to.close();
        fs::remove(path);
        fs::rename(path + ".plain", path);
    }

    std::string dataPath_;
    std::uint32_t interval_;
    bool hasTable_ = false;
    std::vector<std::vector<Group>> sources_;  // in the order of their columns
};

}  // namespace

void PlainCorrelation::Write(const std::string& path) const {
    Correlation(dataPath_, interval_, job_).Write(path);
}

}  // namespace zarn::bench
