#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "analyzers/correlation/correlation_analyzer.h"
#include "benchmarks/naive/correlation_join.h"
#include "benchmarks/support/correlation_generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "formats/correlation.h"
#include "foundation/files.h"

// The correlation of four sources, one of them a history of the scheduler with 1,000,000 rows,
// beside a plain form of it, and beside reading what it reads and copying what it writes; and with
// 1000 peaks of the scheduler beside 10 of them.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSpans = 1000;
constexpr std::size_t kFewSpans = 10;
constexpr std::uint32_t kInterval = 1000;

// A tree with so many peaks of the scheduler, and the table made of it.
class Tree {
public:
    explicit Tree(std::size_t spans) {
        CorrelationGenerator::Size size;
        size.spans = spans;
        ready_ = CorrelationGenerator(1).WriteBig(directory_.Path(), size);
        for (const auto& entry : fs::recursive_directory_iterator(directory_.Path())) {
            if (entry.is_regular_file()) {
                inputs_.push_back(entry.path().string());
            }
        }
        const QuietStreams quiet;
        ready_ = ready_ && Correlate();
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::vector<std::string>& Inputs() const { return inputs_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] std::string TablePath() const {
        return correlation_files::kTable.Path(Path(), CorrelationGenerator::kTime);
    }

    [[nodiscard]] bool Correlate() const {
        JsonDocument config;
        if (!ParseJson(R"({"CorrelationAnalyzer":{"peak_interval_us":1000,"sched":"global"}})",
                       config)) {
            return false;
        }
        fs::remove(TablePath());
        Host host;
        host.clock.currentTime = [](std::string& time) {
            time = CorrelationGenerator::kTime;
            return true;
        };
        CorrelationAnalyzer analyzer(CorrelationAnalyzer::kName, host);
        const StopFlag stopFlag(0);
        return analyzer.Start(config, Path(), &stopFlag);
    }

private:
    ScratchDir directory_;
    std::vector<std::string> inputs_;
    bool ready_ = false;
};

const Tree& ManyPeaks() {
    static const Tree tree(kSpans);
    return tree;
}

const Tree& FewPeaks() {
    static const Tree tree(kFewSpans);
    return tree;
}

bool Correlate() {
    return ManyPeaks().Correlate();
}

bool CorrelateFew() {
    return FewPeaks().Correlate();
}

bool ReadAndCopy() {
    std::string text;
    bool good = true;
    for (const std::string& path : ManyPeaks().Inputs()) {
        good = ReadFile(path, text) == FileResult::Ok && good;
    }
    good = ReadFile(ManyPeaks().TablePath(), text) == FileResult::Ok && good;
    const std::string copy = ManyPeaks().Path() + "copy";
    fs::remove(copy);
    return WriteFile(copy, text) == FileResult::Ok && good;
}

bool CorrelatePlainly() {
    const std::string path = ManyPeaks().Path() + "plain";
    PlainCorrelation(ManyPeaks().Path(), kInterval, "global").Write(path);
    return fs::file_size(path) == fs::file_size(ManyPeaks().TablePath());
}

template <bool (*work)()>
void Row(benchmark::State& state) {
    bool good = ManyPeaks().Ready() && FewPeaks().Ready();
    {
        const QuietStreams quiet;
        for (auto _ : state) {
            good = work() && good;
        }
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
}

BENCHMARK(Row<Correlate>)->Name("correlation/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ReadAndCopy>)->Name("correlation/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<CorrelatePlainly>)
    ->Name("correlation/naive")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(Row<Correlate>)->Name("correlation_peaks/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<CorrelateFew>)->Name("correlation_peaks/bound")->Unit(benchmark::kMillisecond);

const Promise kTime = AtMostTimesBound("correlation", 12);
const Promise kGain = AtLeastTimesNaive("correlation", 20);
const Promise kPeaksTime = AtMostTimesBound("correlation_peaks", 1.1);

// What one run adds to the process's memory at its peak.
void MemoryRow(benchmark::State& state) {
    double added = 0;
    for (auto _ : state) {
        const QuietStreams quiet;
        added = ManyPeaks().Ready() ? PeakMemoryOf(Correlate) : -1;
    }
    if (added < 0) {
        state.SkipWithError("a run failed");
    }
    state.counters["peak_MB"] = added / 1e6;
}
BENCHMARK(MemoryRow)->Name("correlation/memory")->Unit(benchmark::kMillisecond)->Iterations(1);

const Promise kMemory = AtMost("correlation/memory peak_MB", 40);

}  // namespace
}  // namespace zarn::bench
