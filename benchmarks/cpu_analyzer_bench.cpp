#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "analyzers/cpu/cpu_analyzer.h"
#include "benchmarks/naive/cpu_analysis.h"
#include "benchmarks/support/cpu_log_generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "formats/cpu.h"
#include "foundation/files.h"

// The analysis of 600 samples of 400 processes with all jobs, beside a plain form of it and beside
// copying the bytes it reads and writes; and of logs that are one hostile line. Bytes a second are
// those of the logs.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSection =
    R"({"CpuAnalyzer":{"job":["global","core","process_set"],"peak_trought_threshold":0.1,)"
    R"("process_set":{"first":["systemd","kthreadd"],"second":["python3"]}}})";

// The tree of one collection, and what an analysis wrote into it.
class Tree {
public:
    Tree() {
        for (const char* folder : {"raw_data/cpu", "json", "csv", "env_info"}) {
            fs::create_directories(directory_.Path() + folder);
        }
        const CpuLogGenerator generator{CpuLoad()};
        ready_ = generator.WriteRunTree(directory_.Path(), {generator.Command(0)}) &&
                 ParseJson(kSection, config_) &&
                 ParseCpuAnalyzerSettings(
                     config_, [] { return 8L; }, settings_);
        for (const auto& entry : fs::recursive_directory_iterator(directory_.Path())) {
            if (entry.is_regular_file()) {
                inputs_.push_back(entry.path().string());
            }
        }
        RemoveOutputs();
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const CpuAnalyzerSettings& Settings() const { return settings_; }

    [[nodiscard]] bool Analyze() const { return Analyze(Path()); }
    // The same analysis of another tree.
    [[nodiscard]] bool Analyze(const std::string& dataPath) const {
        Host host;
        host.processorCount = [] { return 8L; };
        CpuAnalyzer analyzer(CpuAnalyzer::kName, host);
        const StopFlag stopFlag(0);
        return analyzer.Start(config_, dataPath, &stopFlag);
    }

    // The files that are no input, but for the cost log, in byte order.
    [[nodiscard]] std::vector<std::string> Outputs() const {
        std::vector<std::string> outputs;
        for (const auto& entry : fs::recursive_directory_iterator(Path())) {
            const std::string path = entry.path().string();
            if (entry.is_regular_file() && entry.path().filename() != "time_cost.log" &&
                std::find(inputs_.begin(), inputs_.end(), path) == inputs_.end()) {
                outputs.push_back(path);
            }
        }
        std::sort(outputs.begin(), outputs.end());
        return outputs;
    }

    void RemoveOutputs() const {
        for (const std::string& path : Outputs()) {
            fs::remove(path);
        }
    }

    // What an analysis reads: the two logs and the documents.
    [[nodiscard]] std::vector<std::string> Inputs() const {
        std::vector<std::string> read;
        for (const std::string& path : inputs_) {
            for (const NumberedFile& file :
                 {cpu_files::kUsageLog, cpu_files::kCoresLog, cpu_files::kUsageDocuments}) {
                if (fs::path(path).filename().string().rfind(file.prefix, 0) == 0) {
                    read.push_back(path);
                    break;
                }
            }
        }
        return read;
    }

    [[nodiscard]] std::size_t LogSize() const {
        std::size_t size = 0;
        for (const std::string& path : Inputs()) {
            if (fs::path(path).extension() == ".log") {
                size += fs::file_size(path);
            }
        }
        return size;
    }

private:
    ScratchDir directory_;
    JsonDocument config_;
    CpuAnalyzerSettings settings_;
    std::vector<std::string> inputs_;
    bool ready_ = false;
};

const Tree& TheTree() {
    static const Tree tree;
    return tree;
}

std::vector<std::string> Texts(const std::vector<std::string>& paths) {
    std::vector<std::string> texts;
    for (const std::string& path : paths) {
        texts.emplace_back();
        (void)ReadFile(path, texts.back());
    }
    return texts;
}

std::size_t TotalSize(const std::vector<std::string>& paths) {
    std::size_t size = 0;
    for (const std::string& path : paths) {
        size += fs::file_size(path);
    }
    return size;
}

// A measured run starts without the results of the one before, and with no memory left over from
// it, as a process that runs once.
template <typename Run>
void Measure(benchmark::State& state, Run run) {
    const Tree& tree = TheTree();
    for (auto _ : state) {
        state.PauseTiming();
        tree.RemoveOutputs();
        ::malloc_trim(0);
        state.ResumeTiming();
        if (!tree.Ready() || !run(tree)) {
            state.SkipWithError("the analysis failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(tree.LogSize()) * state.iterations());
    state.counters["read_MB"] = static_cast<double>(TotalSize(tree.Inputs())) / 1e6;
    state.counters["written_MB"] = static_cast<double>(TotalSize(tree.Outputs())) / 1e6;
}

void AnalysisOurs(benchmark::State& state) {
    Measure(state, [](const Tree& tree) { return tree.Analyze(); });
}
BENCHMARK(AnalysisOurs)->Name("CpuAnalyzer/ours")->Unit(benchmark::kMillisecond);

void AnalysisNaive(benchmark::State& state) {
    const Tree& tree = TheTree();
    tree.RemoveOutputs();
    const bool analyzed = tree.Analyze();
    const auto paths = tree.Outputs();
    const auto ours = Texts(paths);
    Measure(state,
            [](const Tree& same) { return AnalyzeCpuPlainly(same.Path(), same.Settings()); });
    if (!analyzed || tree.Outputs() != paths || Texts(paths) != ours) {
        state.SkipWithError("the plain form writes other bytes");
    }
}
BENCHMARK(AnalysisNaive)->Name("CpuAnalyzer/naive")->Unit(benchmark::kMillisecond)->Iterations(1);
const Promise kAheadOfTheNaive = AtLeastTimesNaive("CpuAnalyzer", 25);

// Reads all that an analysis reads and writes as much as it writes, whole files at a time.
void AnalysisBound(benchmark::State& state) {
    const Tree& tree = TheTree();
    tree.RemoveOutputs();
    (void)tree.Analyze();
    const auto paths = tree.Outputs();
    const auto results = Texts(paths);
    Measure(state, [&](const Tree& same) {
        for (const std::string& path : same.Inputs()) {
            std::string text;
            if (ReadFile(path, text) != FileResult::Ok) {
                return false;
            }
            benchmark::DoNotOptimize(text.data());
        }
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (WriteFile(paths[i], results[i]) != FileResult::Ok) {
                return false;
            }
        }
        return true;
    });
}
BENCHMARK(AnalysisBound)->Name("CpuAnalyzer/bound")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("CpuAnalyzer", 6);

// What one analysis adds to the process's memory at its peak, beside the size of the logs.
void AnalysisMemory(benchmark::State& state) {
    const Tree& tree = TheTree();
    double added = 0;
    for (auto _ : state) {
        tree.RemoveOutputs();
        added = PeakMemoryOf([&tree] { return tree.Analyze(); });
        if (added < 0) {
            state.SkipWithError("the analysis failed");
            break;
        }
    }
    state.counters["peak_MB"] = added / 1e6;
    state.counters["peak_per_log"] = added / static_cast<double>(tree.LogSize());
}
BENCHMARK(AnalysisMemory)->Name("CpuAnalyzer/memory")->Unit(benchmark::kMillisecond)->Iterations(1);
const Promise kModest = AtMost("CpuAnalyzer/memory peak_per_log", 3);

// One line of 16 MB made of `piece` again and again.
std::string LongLine(const std::string& piece) {
    std::string line;
    while (line.size() < (std::size_t{16} << 20U)) {
        line += piece;
    }
    return line;
}

// The whole analysis of logs that are one long line; its bytes a second are to be laid beside those
// of CpuAnalyzer/ours.
void AnalyzeLongLine(benchmark::State& state, const std::string& piece) {
    const ScratchDir directory;
    for (const char* folder : {"raw_data/cpu", "json", "env_info"}) {
        fs::create_directories(directory.Path() + folder);
    }
    const std::string line = LongLine(piece);
    (void)WriteFile(cpu_files::kUsageLog.Path(directory.Path(), "1"), line);
    (void)WriteFile(cpu_files::kCoresLog.Path(directory.Path(), "1"), line);
    for (auto _ : state) {
        if (!TheTree().Analyze(directory.Path())) {
            state.SkipWithError("the analysis failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(2 * line.size()) * state.iterations());
}

const bool kLongLineRows = [] {
    const std::pair<const char*, std::string> kinds[] = {{"zeros", std::string(1, '\0')},
                                                         {"blanks", " "},
                                                         {"digits", "1"},
                                                         {"sixteen_digits", "1234567890123456 "},
                                                         {"capitals", "A"},
                                                         {"numbers", "1 A 1.5 "},
                                                         {"returns", "1 A\r"},
                                                         {"near_rows", "1 A 12"},
                                                         {"near_summaries", "Cpu(s):"},
                                                         {"near_cores", "Cpu0 : "},
                                                         {"near_ends", ")u:"},
                                                         {"parentheses", "("}};
    for (const auto& [name, piece] : kinds) {
        const auto run = [piece = piece](benchmark::State& state) {
            AnalyzeLongLine(state, piece);
        };
        benchmark::RegisterBenchmark((std::string("CpuAnalyzer/long_line/") + name).c_str(), run)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
}  // namespace zarn::bench
