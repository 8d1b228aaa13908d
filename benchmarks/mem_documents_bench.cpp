#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "analyzers/mem/mem_analyzer.h"
#include "benchmarks/support/mem_generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "comparators/mem/mem_comparator.h"
#include "formats/mem.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"

// The memory line's documents: the analysis of 2000 samples of the system and of 100 processes, and
// the comparison of 20 versions of 200 such samples. Either is to take no longer than the JSON
// library takes to parse the same files, and 16 MB.
namespace zarn::bench {
namespace {

constexpr std::size_t kProcesses = 100;
constexpr std::size_t kSamples = 2000;
constexpr std::size_t kVersionSamples = 200;
constexpr int kVersions = 20;
constexpr const char* kTime = "20240101120000000";

// A run tree, or several versions of one, made once for all rows.
class Trees {
public:
    Trees(int count, std::size_t samples) {
        for (int i = 0; i < count; ++i) {
            const std::string root = directory_.Path() + "v" + std::to_string(i) + "/";
            std::filesystem::create_directories(root + "json");
            std::filesystem::create_directories(root + "env_info");
            std::filesystem::create_directories(root + mem_files::kRawDir);
            const MemGenerator generator(static_cast<std::uint64_t>(i) + 1);
            Write(mem_files::kSystemSamples.Path(root, kTime), generator.SystemDocuments(samples));
            Write(mem_files::kProcessSamples.Path(root, kTime),
                  generator.ProcessDocuments(samples, kProcesses));
            versions_["v" + std::to_string(i)] = root;
        }
        std::filesystem::create_directories(directory_.Path() + "env_info");
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const std::map<std::string, std::string>& Versions() const { return versions_; }
    [[nodiscard]] const std::string& First() const { return versions_.begin()->second; }
    [[nodiscard]] const std::vector<std::string>& Files() const { return files_; }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }

private:
    void Write(const std::string& path, const std::string& text) {
        ready_ = WriteFile(path, text) == FileResult::Ok && ready_;
        files_.push_back(path);
        bytes_ += text.size();
    }

    ScratchDir directory_;
    std::map<std::string, std::string> versions_;
    std::vector<std::string> files_;
    std::size_t bytes_ = 0;
    bool ready_ = true;
};

const Trees& OneTree() {
    static const Trees trees(1, kSamples);
    return trees;
}

const Trees& ManyTrees() {
    static const Trees trees(kVersions, kVersionSamples);
    return trees;
}

using Work = std::function<bool(const Trees& trees)>;

void RunOn(benchmark::State& state, const Trees& trees, const Work& work) {
    bool good = trees.Ready();
    {
        const QuietStreams quiet;
        for (auto _ : state) {
            good = good && work(trees);
        }
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(trees.Bytes()) * state.iterations());
}

// The lines as they are read, a document of its own for each, and nothing more.
bool ParseAll(const Trees& trees) {
    return std::all_of(trees.Files().begin(), trees.Files().end(), [](const std::string& path) {
        LineFile file(path);
        bool good = file.IsOpen();
        for (std::string_view line; file.Next(line);) {
            JsonDocument document;
            document.Parse(line.data(), line.size());
            good = good && !document.HasParseError();
        }
        return good;
    });
}

JsonDocument Config(const std::string& text) {
    JsonDocument config;
    (void)ParseJson(text, config);
    return config;
}

bool Analyze(const Trees& trees) {
    static const JsonDocument config =
        Config(R"({"MemAnalyzer":{"job":["system_mem","process_mem"],"peak_trought_threshold":0.1,)"
               R"("system_field":"used","process_field":"PSS","process":[]}})");
    const StopFlag stopFlag{0};
    return MemAnalyzer(MemAnalyzer::kName).Start(config, trees.First(), &stopFlag);
}

// All processes are compared.
bool Compare(const Trees& trees) {
    static const JsonDocument config = [] {
        std::string text = R"({"MemComparator":{"job":["system_mem","process_mem"],"process":[)";
        for (std::size_t i = 0; i < kProcesses; ++i) {
            text.append(i == 0 ? "\"" : ",\"").append("service_" + std::to_string(i) + "\"");
        }
        return Config(text + "]}}");
    }();
    const StopFlag stopFlag{0};
    MemComparator comparator(MemComparator::kName, trees.Versions());
    return comparator.CheckOptions(config, "comparator") &&
           comparator.Start(config, trees.Path(), &stopFlag);
}

// The plain form of the analysis' reading: a line and a document at a time, members searched by
// name, frames as pairs of texts, a number made of each when it is looked at.
using PlainFrames = std::vector<std::pair<std::string, std::string>>;

std::size_t CountPeaks(const PlainFrames& frames) {
    float sum = 0.0F;
    for (const auto& [time, value] : frames) {
        sum += std::stof(value);
    }
    const float limit = 1.1F * sum / static_cast<float>(frames.size());
    std::size_t peaks = 0;
    for (std::size_t i = 1; i + 1 < frames.size(); ++i) {
        const float value = std::stof(frames[i].second);
        peaks += value > limit && value > std::stof(frames[i - 1].second) &&
                         value > std::stof(frames[i + 1].second)
                     ? 1U
                     : 0U;
    }
    return peaks;
}

bool AnalyzePlainly(const Trees& trees) {
    PlainFrames system;
    std::map<std::pair<std::string, std::string>, PlainFrames> processes;
    for (const std::string& path : trees.Files()) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            JsonDocument document;
            document.Parse(line.c_str());
            const std::string time = document["happenTime"].GetString();
            const JsonValue& content = document["content"][0];
            if (content.HasMember("memInfo")) {
                system.emplace_back(time, content["memInfo"]["used"].GetString());
                continue;
            }
            for (const JsonValue& row : content["process"].GetArray()) {
                std::string value = row["PSS"].GetString();
                value.pop_back();
                processes[{row["PID"].GetString(), row["COMMAND"].GetString()}].emplace_back(time,
                                                                                             value);
            }
        }
    }
    std::size_t peaks = CountPeaks(system);
    for (const auto& [process, frames] : processes) {
        peaks += CountPeaks(frames);
    }
    return peaks > 0;
}

// That of the comparison.
bool ComparePlainly(const Trees& trees) {
    std::map<std::string, std::vector<double>> values;
    for (const std::string& path : trees.Files()) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            JsonDocument document;
            document.Parse(line.c_str());
            const JsonValue& content = document["content"][0];
            if (content.HasMember("memInfo")) {
                for (const char* field : kMemSystemFields) {
                    values[field].push_back(std::stod(content["memInfo"][field].GetString()));
                }
                continue;
            }
            for (const JsonValue& row : content["process"].GetArray()) {
                const std::string command = row["COMMAND"].GetString();
                for (const char* field : kMemProcessFields) {
                    values[command + field].push_back(std::stod(row[field].GetString()));
                }
            }
        }
    }
    return values.size() == kMemSystemFields.size() + kProcesses * kMemProcessFields.size();
}

template <const Trees& (*trees)(), bool (*work)(const Trees&)>
void Row(benchmark::State& state) {
    RunOn(state, trees(), work);
}

BENCHMARK(Row<OneTree, Analyze>)->Name("MemAnalyzer/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<OneTree, ParseAll>)->Name("MemAnalyzer/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<OneTree, AnalyzePlainly>)->Name("MemAnalyzer/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ManyTrees, Compare>)->Name("MemComparator/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ManyTrees, ParseAll>)->Name("MemComparator/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ManyTrees, ComparePlainly>)
    ->Name("MemComparator/naive")
    ->Unit(benchmark::kMillisecond);

const Promise kAnalysisTime = AtMostTimesBound("MemAnalyzer", 1);
const Promise kComparisonTime = AtMostTimesBound("MemComparator", 1);

// What one run adds to the process's memory at its peak.
template <const Trees& (*trees)(), bool (*work)(const Trees&)>
void MemoryRow(benchmark::State& state) {
    double added = 0;
    for (auto _ : state) {
        const QuietStreams quiet;
        const Trees& input = trees();  // made before it counts
        added = PeakMemoryOf([&input] { return work(input); });
    }
    if (added < 0) {
        state.SkipWithError("a run failed");
    }
    state.counters["peak_MB"] = added / 1e6;
}
BENCHMARK(MemoryRow<OneTree, Analyze>)
    ->Name("MemAnalyzer/memory")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(MemoryRow<ManyTrees, Compare>)
    ->Name("MemComparator/memory")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

const Promise kAnalysisMemory = AtMost("MemAnalyzer/memory peak_MB", 16);
const Promise kComparisonMemory = AtMost("MemComparator/memory peak_MB", 16);

}  // namespace
}  // namespace zarn::bench
