#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "benchmarks/support/generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/profiling/topdown/topdown_analysis.h"
#include "collectors/profiling/topdown/topdown_events.h"
#include "collectors/profiling/topdown/topdown_stat_parser.h"
#include "foundation/files.h"
#include "foundation/text.h"

// The counter file of an hour, an interval of 35 counters every two seconds, to its metrics and the
// bottleneck. The plain form splits each line into strings; the bound reads the file and cuts its
// lines.
namespace zarn::bench {
namespace {

constexpr int kIntervals = 1800;

// perf's codes in the order in which it is asked for them.
std::vector<std::string> Codes() {
    std::vector<std::string> codes;
    SplitString(kTopdownEventGroups, ",", codes);
    for (std::string& code : codes) {
        code = code.substr(code.find('{') + 1, code.find('}') - code.find('{') - 1);
    }
    return codes;
}

std::string CounterText() {
    Generator generator(7);
    const std::vector<std::string> codes = Codes();
    std::string text = "# started on Thu Jan  1 00:00:00 1970\n\n";
    for (int i = 1; i <= kIntervals; ++i) {
        const std::string seconds = std::to_string(2 * i);
        const std::string nanoseconds = std::to_string(generator.Between(1000000, 9999999));
        const std::string padding(6 - seconds.size(), ' ');
        for (const std::string& code : codes) {
            text.append(padding).append(seconds).append(".00").append(nanoseconds).append(";");
            text.append(std::to_string(generator.Between(0, 4000000000))).append(";;");
            text.append(code).append(";");
            text.append(std::to_string(generator.Between(57000000, 58000000))).append(";2.");
            text.append(std::to_string(generator.Between(10, 99))).append(";;\n");
        }
    }
    return text;
}

// A file for as long as it is read.
class CounterFile {
public:
    explicit CounterFile(const std::string& text)
        : bytes_(text.size()), ready_(WriteFile(Path(), text) == FileResult::Ok) {}

    [[nodiscard]] std::string Path() const { return directory_.Path() + "counters"; }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }
    [[nodiscard]] bool Ready() const { return ready_; }

private:
    ScratchDir directory_;
    std::size_t bytes_;
    bool ready_;
};

template <typename Work>
void RunOn(benchmark::State& state, const CounterFile& file, Work work) {
    for (auto _ : state) {
        work(file.Path());
    }
    if (!file.Ready()) {
        state.SkipWithError("no counter file");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(file.Bytes()) * state.iterations());
}

void Analyze(std::unordered_map<std::string, float> events) {
    TopdownData data;
    data.events = std::move(events);
    AnalyzeMetrics(data);
    benchmark::DoNotOptimize(data.bottleneck);
}

void AnalyzeFile(const std::string& path) {
    LineFile file(path);
    TopdownTotals totals;
    for (std::string_view line; file.Next(line);) {
        totals.Add(line);
    }
    Analyze(totals.Events());
}

void TopdownOurs(benchmark::State& state) {
    RunOn(state, CounterFile(CounterText()), AnalyzeFile);
}

constexpr std::size_t kLongLine = std::size_t{16} << 20U;

// A line in whose count one byte is repeated.
void LongLine(benchmark::State& state, char byte) {
    const std::string text = "2.0;" + std::string(kLongLine, byte) + ";;r11;57000000;2.86;;\n";
    RunOn(state, CounterFile(text), AnalyzeFile);
}

// As many bytes of ordinary lines.
void LongLineBound(benchmark::State& state) {
    std::string text;
    while (text.size() < kLongLine) {
        text += CounterText();
    }
    text.resize(kLongLine);
    RunOn(state, CounterFile(text), AnalyzeFile);
}

void TopdownNaive(benchmark::State& state) {
    std::unordered_map<std::string, std::string> names;
    for (const std::string& code : Codes()) {
        names[code] = TopdownEventName(*FindTopdownEvent(code));
    }
    RunOn(state, CounterFile(CounterText()), [&names](const std::string& path) {
        std::ifstream file(path);
        std::unordered_map<std::string, float> events;
        for (std::string line; std::getline(file, line);) {
            TrimSpaces(line);
            if (line.empty() || line[0] == '#') {
                continue;
            }
            std::vector<std::string> fields;
            SplitString(line, ";", fields);
            if (fields.size() < 3) {
                continue;
            }
            const auto name = names.find(fields[2]);
            if (name != names.end()) {
                events[name->second] += std::stof(fields[1]);
            }
        }
        Analyze(std::move(events));
    });
}

void TopdownBound(benchmark::State& state) {
    RunOn(state, CounterFile(CounterText()), [](const std::string& path) {
        LineFile file(path);
        std::size_t bytes = 0;
        for (std::string_view line; file.Next(line);) {
            bytes += line.size();
        }
        benchmark::DoNotOptimize(bytes);
    });
}

BENCHMARK(TopdownOurs)->Name("TopdownCollector/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("TopdownCollector", 6);
const Promise kFasterThanPlain = AtLeastTimesNaive("TopdownCollector", 3);
BENCHMARK(TopdownNaive)->Name("TopdownCollector/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(TopdownBound)->Name("TopdownCollector/bound")->Unit(benchmark::kMillisecond);

// Whatever a line holds, its bytes cost at most twice what those of ordinary ones do: memory for it
// is touched for the first time.
const bool kLongLinesAreMeasured = [] {
    const std::pair<const char*, char> kinds[] = {
        {"blanks", ' '}, {"digits", '9'}, {"letters", 'x'}, {"separators", ';'}, {"zeros", '0'}};
    for (const auto& [kind, byte] : kinds) {
        const std::string row = std::string("TopdownCollector/long_line/") + kind;
        benchmark::RegisterBenchmark((row + "/ours").c_str(), LongLine, byte)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((row + "/bound").c_str(), LongLineBound)
            ->Unit(benchmark::kMillisecond);
        (void)AtMostTimesBound(row, 2);
    }
    return true;
}();

}  // namespace
}  // namespace zarn::bench
