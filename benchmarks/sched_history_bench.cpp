#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "analyzers/sched/thread_logs.h"
#include "analyzers/sched/timehist_analysis.h"
#include "benchmarks/support/generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "foundation/files.h"
#include "foundation/text.h"

// The scheduler's history: the choice of the rows that ran longest among 1,000,000, and the
// document of a thread that has as many. The choice is held to counting the lines of the same file,
// the document to writing the same bytes.
namespace zarn::bench {
namespace {

constexpr std::size_t kRows = 1000000;
constexpr const char* kThreadLog = "thread.log";

// Nothing is followed up here.
class NoCommands final : public CommandRunner {
public:
    int Run(const std::string& /*command*/) override { return 1; }
    bool Capture(const std::string& /*command*/, std::string& /*output*/) override { return false; }
};

// A history of 89 bytes a row, one in five of them idle.
std::string History() {
    Generator generator(1);
    std::string text = "time cpu task\n[tid/pid]\n------ ---\n";
    text.reserve(kRows * 90);
    std::array<char, 128> line{};
    for (std::size_t i = 0; i < kRows; ++i) {
        const auto tid = static_cast<unsigned>(generator.Below(500));
        const std::string task = generator.Chance(20) ? "<idle>"
                                                      : "worker_" + std::to_string(tid) + "[" +
                                                            std::to_string(1000 + tid) + "]";
        const int size = std::snprintf(
            line.data(), line.size(), "%15.6f [%04u]  %-30s  %9.3f  %9.3f  %9.3f \n",
            16000.0 + static_cast<double>(i) * 0.00001, static_cast<unsigned>(generator.Below(8)),
            task.c_str(), static_cast<double>(generator.Below(100000)) / 1000.0,
            static_cast<double>(generator.Below(5000)) / 1000.0,
            static_cast<double>(generator.Below(1000000)) / 1000.0);
        text.append(line.data(), static_cast<std::size_t>(size));
    }
    return text;
}

// The files, made once for all rows.
class Input {
public:
    Input() {
        const std::string history = History();
        ready_ =
            WriteFile(Path("history.log"), history) == FileResult::Ok &&
            WriteFile(Path(kThreadLog), history.substr(history.find("\n ") + 1)) == FileResult::Ok;
        ready_ = ready_ && ThreadDocument();
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] std::string Path(const std::string& name) const {
        return directory_.Path() + name;
    }
    [[nodiscard]] std::string DocumentPath() const {
        return Path(sched_files::ThreadRowsName(kThreadLog));
    }

    // The document of the thread in the place of what was there.
    [[nodiscard]] bool ThreadDocument() const {
        std::filesystem::remove(DocumentPath());
        NoCommands runner;
        return WriteThreadRows(Context(runner, settings_), Source(), {kThreadLog});
    }

    [[nodiscard]] bool Choose(std::uint32_t topN) const {
        NoCommands runner;
        SchedAnalyzerSettings settings = settings_;
        settings.collected.topN = topN;
        const std::string document =
            Path(sched_files::AnalysisName(Source().target, sched_files::kTimehistAnalysis));
        std::filesystem::remove(document);
        return AnalyzeTimehist(Context(runner, settings), Source());
    }

private:
    [[nodiscard]] SchedContext Context(CommandRunner& runner,
                                       const SchedAnalyzerSettings& settings) const {
        return {runner,          settings, directory_.Path(), directory_.Path(), directory_.Path(),
                "20230101110000"};
    }
    [[nodiscard]] SchedSource Source() const {
        SchedSource source;
        source.target = {"global", "global", "20230101120000000"};
        source.timehist = Path("history.log");
        return source;
    }

    ScratchDir directory_;
    SchedAnalyzerSettings settings_ = {{}, 1e9};
    bool ready_ = false;
};

const Input& TheInput() {
    static const Input input;
    return input;
}

bool ChooseTen(const Input& input) {
    return input.Choose(10);
}

bool ChooseThousand(const Input& input) {
    return input.Choose(1000);
}

bool CountLines(const Input& input) {
    LineFile file(input.Path("history.log"));
    std::size_t count = 0;
    for (std::string_view line; file.Next(line);) {
        ++count;
    }
    return count > kRows;
}

// The plain form: all rows in pieces, sorted with numbers made in the comparison.
bool ChoosePlainly(const Input& input) {
    std::ifstream file(input.Path("history.log"));
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> pieces;
        SplitString(line, " ", pieces);
        if (pieces.size() == 6) {
            rows.push_back(std::move(pieces));
        }
    }
    std::sort(rows.begin(), rows.end(),
              [](const auto& a, const auto& b) { return std::stod(a[5]) > std::stod(b[5]); });
    return rows.size() == kRows;
}

bool WriteThread(const Input& input) {
    return input.ThreadDocument();
}

// As many bytes as the document has.
bool WriteBytes(const Input& input) {
    static const std::string text = [&input] {
        std::string whole;
        (void)ReadFile(input.DocumentPath(), whole);
        return whole;
    }();
    const std::string path = input.Path("bytes");
    std::filesystem::remove(path);
    return text.size() > kRows && AppendFile(path, text) == FileResult::Ok;
}

template <bool (*work)(const Input&)>
void Row(benchmark::State& state) {
    const Input& input = TheInput();
    bool good = input.Ready();
    {
        const QuietStreams quiet;
        for (auto _ : state) {
            good = work(input) && good;
        }
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
}

BENCHMARK(Row<ChooseTen>)->Name("sched_top_rows/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<CountLines>)->Name("sched_top_rows/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ChoosePlainly>)
    ->Name("sched_top_rows/naive")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(Row<ChooseThousand>)->Name("sched_top_thousand/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<ChooseTen>)->Name("sched_top_thousand/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<WriteThread>)->Name("sched_thread_rows/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<WriteBytes>)->Name("sched_thread_rows/bound")->Unit(benchmark::kMillisecond);

const Promise kChoiceTime = AtMostTimesBound("sched_top_rows", 6);
const Promise kChoiceGain = AtLeastTimesNaive("sched_top_rows", 40);
const Promise kThousandTime = AtMostTimesBound("sched_top_thousand", 1.15);
const Promise kThreadTime = AtMostTimesBound("sched_thread_rows", 4);

// What one run adds to the process's memory at its peak; of the document, in its own sizes too.
template <bool (*work)(const Input&)>
void MemoryRow(benchmark::State& state) {
    double added = 0;
    for (auto _ : state) {
        const QuietStreams quiet;
        const Input& input = TheInput();  // made before it counts
        added = PeakMemoryOf([&input] { return work(input); });
    }
    if (added < 0) {
        state.SkipWithError("a run failed");
    }
    state.counters["peak_MB"] = added / 1e6;
    state.counters["documents"] =
        added / static_cast<double>(std::filesystem::file_size(TheInput().DocumentPath()));
}
BENCHMARK(MemoryRow<ChooseTen>)
    ->Name("sched_top_rows/memory")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(MemoryRow<WriteThread>)
    ->Name("sched_thread_rows/memory")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

const Promise kChoiceMemory = AtMost("sched_top_rows/memory peak_MB", 15);
const Promise kThreadMemory = AtMost("sched_thread_rows/memory documents", 1.5);

}  // namespace
}  // namespace zarn::bench
