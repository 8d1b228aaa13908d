#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "analyzers/ddr/ddr_analyzer.h"
#include "analyzers/ddr/ddr_master_info.h"
#include "benchmarks/support/ddr_generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "comparators/ddr/ddr_comparator.h"
#include "formats/ddr.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"

// The DDR line on collections of 2000 samples of 11 rows. Every row is to be read beside
// "DdrFile/parse", the parsing alone of one such file: reading, analysing and writing it whole may
// take 3 times as long, the comparison of 20 versions of it 25 times.
namespace zarn::bench {
namespace {

constexpr std::size_t kSamples = 2000;
constexpr int kVersions = 20;
constexpr const char* kTime = "20240101120000000";

// Run trees of as many versions, made once for all rows. They hold no analysis, so that the
// comparison has to compute its figures.
class Trees {
public:
    Trees() {
        for (int i = 0; i < kVersions; ++i) {
            const std::string root = directory_.Path() + "v" + std::to_string(i) + "/";
            std::filesystem::create_directories(root + "json");
            std::filesystem::create_directories(root + ddr_files::kRawDir);
            std::filesystem::create_directories(root + "env_info");
            const DdrGenerator generator(static_cast<std::uint64_t>(i) + 1);
            const std::string shares = generator.BandwidthDocuments(kSamples);
            bytes_ = shares.size();
            ready_ = WriteFile(ddr_files::kBandwidth.Path(root, kTime), shares) == FileResult::Ok &&
                     WriteFile(ddr_files::kQosSettings.Path(root, kTime),
                               generator.QosDocuments()) == FileResult::Ok &&
                     ready_;
            versions_["v" + std::to_string(i)] = root;
        }
        std::filesystem::create_directories(directory_.Path() + "env_info");
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const std::map<std::string, std::string>& Versions() const { return versions_; }
    [[nodiscard]] const std::string& First() const { return versions_.begin()->second; }
    [[nodiscard]] std::string FirstShares() const {
        return ddr_files::kBandwidth.Path(First(), kTime);
    }
    [[nodiscard]] std::string FirstAnalysis() const {
        return ddr_files::kAnalysis.Path(First(), kTime);
    }
    // Of one collection.
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }

private:
    ScratchDir directory_;
    std::map<std::string, std::string> versions_;
    std::size_t bytes_ = 0;
    bool ready_ = true;
};

const Trees& SharedTrees() {
    static const Trees trees;
    return trees;
}

// Runs `work`, which tells whether it succeeded, on `files` collections.
template <typename Work>
void RunOn(benchmark::State& state, int files, Work work) {
    const Trees& trees = SharedTrees();
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
    state.SetBytesProcessed(static_cast<std::int64_t>(trees.Bytes()) * files * state.iterations());
}

// The text is in memory; a document of its own for each line, as the library's users write it.
void ParseOnly(benchmark::State& state) {
    std::string text;
    (void)ReadFile(SharedTrees().FirstShares(), text);
    RunOn(state, 1, [&text](const Trees& /*trees*/) {
        LineCursor cursor(text);
        std::string_view line;
        bool good = true;
        while (cursor.Next(line)) {
            JsonDocument document;
            document.Parse(line.data(), line.size());
            good = good && !document.HasParseError();
        }
        return good;
    });
}
BENCHMARK(ParseOnly)->Name("DdrAnalyzer/bound")->Unit(benchmark::kMicrosecond);
BENCHMARK(ParseOnly)->Name("DdrComparator/bound")->Unit(benchmark::kMicrosecond);

JsonDocument GlobalJob(const char* section) {
    JsonDocument config;
    (void)ParseJson(std::string("{\"") + section + R"(":{"job":["global"]}})", config);
    return config;
}

void AnalyzeOurs(benchmark::State& state) {
    const JsonDocument config = GlobalJob(DdrAnalyzer::kName);
    RunOn(state, 1, [&](const Trees& trees) {
        state.PauseTiming();  // a process starts with an empty map
        ddrInfoMap.clear();
        state.ResumeTiming();
        const StopFlag stopFlag{0};
        return DdrAnalyzer(DdrAnalyzer::kName).Start(config, trees.First(), &stopFlag);
    });
    // The comparison below must not find it.
    std::filesystem::remove(SharedTrees().FirstAnalysis());
}
BENCHMARK(AnalyzeOurs)->Name("DdrAnalyzer/ours")->Unit(benchmark::kMicrosecond);
const Promise kAnalyzesNearTheBound = AtMostTimesBound("DdrAnalyzer", 3);

// The plain form of its reading and of its table: a line and a document at a time, members searched
// by name, a string per number, a stream for the table.
void AnalyzeNaive(benchmark::State& state) {
    RunOn(state, 1, [](const Trees& trees) {
        std::map<std::string, std::vector<double>> values;
        std::vector<std::string> moments;
        std::ifstream file(trees.FirstShares());
        std::string line;
        while (std::getline(file, line)) {
            JsonDocument document;
            document.Parse(line.c_str());
            for (const JsonValue& element : document["content"].GetArray()) {
                for (const std::string& name : ddrNameList) {
                    values[name].push_back(std::stod(element[name.c_str()].GetString()));
                }
                moments.emplace_back(document["happenTime"].GetString());
            }
        }
        std::ofstream table(trees.First() + ddr_files::kRawDir + "naive.csv");
        for (std::size_t i = 0; i < moments.size(); ++i) {
            table << "'" << moments[i] << ",";
            for (const std::string& name : ddrNameList) {
                table << values[name][i] << ",";
            }
            table << "\n";
        }
        return table.good();
    });
}
BENCHMARK(AnalyzeNaive)->Name("DdrAnalyzer/naive")->Unit(benchmark::kMicrosecond);

void CompareOurs(benchmark::State& state) {
    const JsonDocument config = GlobalJob(DdrComparator::kName);
    RunOn(state, kVersions, [&config](const Trees& trees) {
        const StopFlag stopFlag{0};
        DdrComparator comparator(DdrComparator::kName, trees.Versions());
        return comparator.CheckOptions(config, "comparator") &&
               comparator.Start(config, trees.Path(), &stopFlag);
    });
}
BENCHMARK(CompareOurs)->Name("DdrComparator/ours")->Unit(benchmark::kMicrosecond);
const Promise kComparesNearTheBound = AtMostTimesBound("DdrComparator", 25);

}  // namespace
}  // namespace zarn::bench
