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
        std::string time = std::to_string(2 * i);
        time = std::string(time.size() < 6 ? 6 - time.size() : 0, ' ') + time + ".00" +
               std::to_string(generator.Between(1000000, 9999999));
        for (const std::string& code : codes) {
            text += time + ";" + std::to_string(generator.Between(0, 4000000000)) + ";;" + code +
                    ";" + std::to_string(generator.Between(57000000, 58000000)) + ";2." +
                    std::to_string(generator.Between(10, 99)) + ";;\n";
        }
    }
    return text;
}

// The file, made once for all rows.
class CounterFile {
public:
    CounterFile() {
        const std::string text = CounterText();
        bytes_ = text.size();
        ready_ = WriteFile(Path(), text) == FileResult::Ok;
    }

    [[nodiscard]] std::string Path() const { return directory_.Path() + "counters"; }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }
    [[nodiscard]] bool Ready() const { return ready_; }

private:
    ScratchDir directory_;
    std::size_t bytes_ = 0;
    bool ready_ = false;
};

template <typename Work>
void RunOn(benchmark::State& state, Work work) {
    static const CounterFile file;
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

void TopdownOurs(benchmark::State& state) {
    RunOn(state, [](const std::string& path) {
        LineFile file(path);
        TopdownTotals totals;
        for (std::string_view line; file.Next(line);) {
            totals.Add(line);
        }
        Analyze(totals.Events());
    });
}

void TopdownNaive(benchmark::State& state) {
    std::unordered_map<std::string, std::string> names;
    for (const std::string& code : Codes()) {
        names[code] = TopdownEventName(*FindTopdownEvent(code));
    }
    RunOn(state, [&names](const std::string& path) {
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
    RunOn(state, [](const std::string& path) {
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

}  // namespace
}  // namespace zarn::bench
