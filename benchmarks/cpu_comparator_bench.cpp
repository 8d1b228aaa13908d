#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "benchmarks/support/cpu_log_generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "comparators/cpu/cpu_comparator.h"
#include "formats/cpu.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/statistics.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"

// The comparison of 20 versions of 600 samples of 400 processes, beside reading the same files and
// beside a plain form of the same work: lists of lists of strings, one getline a line.
namespace zarn::bench {
namespace {

constexpr int kVersions = 20;
constexpr std::size_t kSelected = 10;

// The versions' trees, made once for all rows: some 400 MB.
class Trees {
public:
    Trees() {
        const CpuLogGenerator names{CpuLoad()};
        for (std::size_t i = 0; processes_.size() < kSelected; ++i) {
            const std::string command = names.Command(i * 7);
            if (std::find(processes_.begin(), processes_.end(), command) == processes_.end()) {
                processes_.push_back(command);
            }
        }
        for (int i = 0; i < kVersions; ++i) {
            CpuLoad load;
            load.seed = static_cast<std::uint64_t>(i) + 1;
            const std::string root = directory_.Path() + "v" + std::to_string(i) + "/";
            const CpuLogGenerator generator(load);
            ready_ = CreateDirectory(root + cpu_files::kRawDir) && ready_;
            Write(cpu_files::kGlobalLog.Path(root, "1"), generator.GlobalLog());
            Write(cpu_files::kUsageLog.Path(root, "1"), generator.UsageLog());
            versions_["v" + std::to_string(i)] = root;
        }
        ready_ = CreateDirectory(directory_.Path() + "env_info") && ready_;
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const std::map<std::string, std::string>& Versions() const { return versions_; }
    [[nodiscard]] const std::vector<std::string>& Processes() const { return processes_; }
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
    std::vector<std::string> processes_;
    std::vector<std::string> files_;
    std::size_t bytes_ = 0;
    bool ready_ = true;
};

const Trees& SharedTrees() {
    static const Trees trees;
    return trees;
}

// Runs `work` for the rows' common input and sets the rate.
template <typename Work>
void RunOn(benchmark::State& state, Work work) {
    const Trees& trees = SharedTrees();
    if (!trees.Ready()) {
        state.SkipWithError("the versions' trees cannot be written");
        return;
    }
    for (auto _ : state) {
        work(trees);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(trees.Bytes()) * state.iterations());
}

void CompareOurs(benchmark::State& state) {
    RunOn(state, [&state](const Trees& trees) {
        JsonDocument config;
        config.SetObject();
        JsonAllocator& allocator = config.GetAllocator();
        JsonValue jobs(rapidjson::kArrayType);
        jobs.PushBack("global", allocator).PushBack("selected_process", allocator);
        JsonValue processes(rapidjson::kArrayType);
        for (const std::string& process : trees.Processes()) {
            processes.PushBack(JsonValue(process, allocator), allocator);
        }
        JsonValue section(rapidjson::kObjectType);
        section.AddMember("job", jobs, allocator).AddMember("process", processes, allocator);
        config.AddMember("CpuComparator", section, allocator);
        const StopFlag stopFlag{0};
        CpuComparator comparator(CpuComparator::kName, trees.Versions());
        if (!comparator.CheckOptions(config, "comparator") ||
            !comparator.Start(config, trees.Path(), &stopFlag)) {
            state.SkipWithError("the comparison failed");
        }
    });
}
BENCHMARK(CompareOurs)->Name("CpuComparator/ours")->Unit(benchmark::kMillisecond);

using NaiveSample = std::vector<std::string>;

std::vector<NaiveSample> NaiveSamples(const std::string& path) {
    std::vector<NaiveSample> samples(1);
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty()) {
            samples.emplace_back();
        } else {
            samples.back().push_back(line);
        }
    }
    return samples;
}

std::vector<std::string> NaiveTokens(const std::string& line, const char* delimiter) {
    std::vector<std::string> tokens;
    SplitString(line, delimiter, tokens);
    return tokens;
}

using NaiveFigures = std::map<std::string, std::vector<double>>;

void NaiveSystem(const NaiveSample& sample, NaiveFigures& figures) {
    for (std::size_t i = 2; i < sample.size(); ++i) {
        for (const std::string& part : NaiveTokens(NaiveTokens(sample[i], ":").at(1), ",")) {
            const std::vector<std::string> tokens = NaiveTokens(part, " ");
            figures[std::to_string(i) + tokens.at(1)].push_back(std::stod(tokens.at(0)));
        }
    }
}

void NaiveProcesses(const NaiveSample& sample, const std::vector<std::string>& names,
                    NaiveFigures& figures) {
    for (const std::string& name : names) {
        for (const std::string& line : sample) {
            const std::vector<std::string> tokens = NaiveTokens(line, " ");
            if (tokens.size() < 11 || tokens.back() != name) {
                continue;
            }
            for (const std::size_t index : {4U, 5U, 6U, 8U, 9U}) {
                figures[name + std::to_string(index)].push_back(std::stod(tokens[index]));
            }
            const std::vector<std::string> time = NaiveTokens(tokens[10], ":");
            figures[name + "time"].push_back((std::stod(time.at(0)) * 60 + std::stod(time.at(1))) *
                                             1000);
        }
    }
}

void CompareNaive(benchmark::State& state) {
    RunOn(state, [](const Trees& trees) {
        std::map<std::string, std::vector<double>> rows;
        for (std::size_t i = 0; i < trees.Files().size(); i += 2) {
            NaiveFigures figures;
            for (const NaiveSample& sample : NaiveSamples(trees.Files()[i])) {
                NaiveSystem(sample, figures);
            }
            for (const NaiveSample& sample : NaiveSamples(trees.Files()[i + 1])) {
                NaiveProcesses(sample, trees.Processes(), figures);
            }
            for (const auto& [name, values] : figures) {
                double maximum = 0;
                double minimum = 0;
                double average = 0;
                GetMaxMinAverage(values, maximum, minimum, average);
                for (const double value : {maximum, minimum, average}) {
                    rows[name].push_back(value);
                }
            }
        }
        benchmark::DoNotOptimize(rows.size());
    });
}
BENCHMARK(CompareNaive)->Name("CpuComparator/naive")->Unit(benchmark::kMillisecond)->Iterations(1);

void CompareBound(benchmark::State& state) {
    RunOn(state, [](const Trees& trees) {
        std::string text;
        for (const std::string& path : trees.Files()) {
            text.clear();
            text.shrink_to_fit();
            if (ReadFile(path, text) == FileResult::Ok) {
                benchmark::DoNotOptimize(text.data());
            }
        }
    });
}
BENCHMARK(CompareBound)->Name("CpuComparator/bound")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("CpuComparator", 8);

}  // namespace
}  // namespace zarn::bench
