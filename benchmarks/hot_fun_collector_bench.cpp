#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/perf_text_generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/profiling/hot_fun/function_sets.h"
#include "collectors/profiling/hot_fun/report_rows.h"
#include "collectors/profiling/hot_fun/script_samples.h"
#include "foundation/file_search.h"
#include "foundation/files.h"

// What perf prints read into the collector's results: a report of 100,000 rows in 600,000 lines,
// and the function sets of a script of 1,000,000 lines, beside the expressions tried on each line
// and reading and cutting the lines alone; and lines of 16 MB of hard bytes beside as many ordinary
// ones.
namespace zarn::bench {
namespace {

constexpr std::size_t kRows = 100000;
constexpr std::size_t kLines = 1000000;
constexpr std::size_t kLongest = 16U << 20U;
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
constexpr const char* kPattern = "service_1.*";

class Texts {
public:
    Texts() {
        const PerfTextGenerator generator(1);
        ready_ = WriteFile(Report(), generator.Report(kRows)) == FileResult::Ok &&
                 WriteFile(Script(), generator.Script(kLines)) == FileResult::Ok &&
                 WriteFile(ShortScript(), generator.Script(kLines / 100)) == FileResult::Ok;
        (void)sets_.AddSet("set");
        sets_.Add("set", "service_2");
        sets_.Add("set", kPattern);
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] std::string Report() const { return directory_.Path() + "report"; }
    [[nodiscard]] std::string Script() const { return directory_.Path() + "script"; }
    [[nodiscard]] std::string ShortScript() const { return directory_.Path() + "short"; }
    [[nodiscard]] const FunctionSets& Sets() const { return sets_; }

private:
    ScratchDir directory_;
    FunctionSets sets_;
    bool ready_ = false;
};

const Texts& Made() {
    static const Texts texts;
    return texts;
}

using Work = std::function<bool(const Texts&)>;

void RunOn(benchmark::State& state, const Work& work) {
    const Texts& texts = Made();
    bool good = texts.Ready();
    for (auto _ : state) {
        good = good && work(texts);
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
}

// The file read as a whole, and its lines.
bool CutLines(const std::string& path) {
    std::string text;
    std::size_t lines = 0;
    const bool read = ReadFile(path, text) == FileResult::Ok;
    LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        ++lines;
    }
    benchmark::DoNotOptimize(lines);
    return read && lines > 0;
}

bool TakeRow(std::string_view line, ReportRows& rows) {
    const auto match = FindReportRow(line);
    if (match) {
        rows.Add(*match);
    }
    return match.has_value();
}

bool ReadReport(const Texts& texts) {
    ReportRows rows(kRows);
    std::size_t count = 0;
    const bool read = TakeMatchingLinesOfFile(
        texts.Report(), {}, kRows, [&rows](std::string_view line) { return TakeRow(line, rows); });
    rows.ForEach([&count](const ReportRow& /*row*/) { ++count; });
    return read && count == kRows;
}

// The expression tried on each line, its match cut at blanks.
bool ReadReportPlainly(const Texts& texts) {
    const std::regex pattern(R"((?=\.\d|\d)(?:\d+)?(?:\.?\d*)%\s+.*\s+.*\s+.*)");
    std::ifstream file(texts.Report());
    std::vector<std::string> tokens;
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (!std::regex_search(line, match, pattern)) {
            continue;
        }
        std::istringstream words(match.str());
        for (std::string word; words >> word;) {
            if (word != "[k]" && word != "[.]") {
                tokens.push_back(word);
            }
        }
    }
    return tokens.size() == 5 * kRows;
}

bool ReadSets(const std::string& path, const FunctionSets& sets) {
    std::string error;
    auto cycles = FunctionCycles::Make(sets, error);
    const auto take = [&cycles](std::string_view line) {
        const auto head = FindSampleHead(line);
        if (head) {
            cycles->Add(head->name, CyclesOf(*head));
        }
        return head.has_value();
    };
    return TakeMatchingLinesOfFile(path, {' ', '\t', '\r'}, kAll, take) &&
           !cycles->Shares().at("set").functions.empty();
}

bool ReadSetsPlainly(const Texts& texts) {
    const std::regex head(".*[0-9]+\\s+cycles:");
    const std::regex count("[0-9]+\\s+cycles:");
    const std::regex pattern(kPattern);
    std::map<std::string, std::uint64_t> functions = {{"service_2", 0}};
    std::uint64_t total = 0;
    std::ifstream file(texts.Script());
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if ((!line.empty() && std::string(" \t\r").find(line.front()) != std::string::npos) ||
            !std::regex_search(line, match, head)) {
            continue;
        }
        const std::string kept = match.str();
        const std::string name = kept.substr(0, kept.find(' '));
        std::regex_search(kept, match, count);
        const std::uint64_t cycles = std::stoull(match.str());
        total += cycles;
        if (functions.count(name) != 0 || std::regex_search(name, pattern)) {
            functions[name] += cycles;
        }
    }
    return total > 0 && functions.size() > 5;
}

void ReportOurs(benchmark::State& state) {
    RunOn(state, ReadReport);
}

void ReportNaive(benchmark::State& state) {
    RunOn(state, ReadReportPlainly);
}

void ReportBound(benchmark::State& state) {
    RunOn(state, [](const Texts& texts) { return CutLines(texts.Report()); });
}

void SetsOurs(benchmark::State& state) {
    RunOn(state, [](const Texts& texts) { return ReadSets(texts.Script(), texts.Sets()); });
    const auto grown = [](const std::string& path) {
        return PeakMemoryOf([&path] { return ReadSets(path, Made().Sets()); });
    };
    // What a script of a hundred times the length needs beyond a short one.
    state.counters["grown_KiB"] = (grown(Made().Script()) - grown(Made().ShortScript())) / 1024;
}

void SetsNaive(benchmark::State& state) {
    RunOn(state, ReadSetsPlainly);
}

void SetsBound(benchmark::State& state) {
    RunOn(state, [](const Texts& texts) { return CutLines(texts.Script()); });
}

double CpuSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// CPU time of reading a file that holds `text`.
double SecondsOf(const std::string& text, const std::function<void(const std::string&)>& read) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "text";
    if (WriteFile(path, text) != FileResult::Ok) {
        return std::numeric_limits<double>::infinity();
    }
    const double before = CpuSeconds();
    read(path);
    return CpuSeconds() - before;
}

// kLongest bytes at least.
std::string Repeated(const std::string& piece) {
    std::string text;
    text.reserve(kLongest + piece.size());
    while (text.size() < kLongest) {
        text += piece;
    }
    return text;
}

void ReadAnyReport(const std::string& path) {
    ReportRows rows(std::numeric_limits<std::uint32_t>::max());
    benchmark::DoNotOptimize(TakeMatchingLinesOfFile(
        path, {}, kAll, [&rows](std::string_view line) { return TakeRow(line, rows); }));
}

void ReadAnyScript(const std::string& path) {
    benchmark::DoNotOptimize(ReadSets(path, Made().Sets()));
}

// The line of hard bytes that costs most, behind a begin that lets it through: in a report one of
// words of one letter.
double MostSecondsOf(const std::string& begin,
                     const std::function<void(const std::string&)>& read) {
    double most = 0.0;
    for (const std::string& bytes :
         {std::string("x"), std::string(" "), std::string("%"), std::string("% "),
          std::string("5% "), std::string("c"), std::string(" cycles:"), std::string("7 cycles: "),
          std::string("a "), std::string("[.] "), std::string("\r"), std::string(1, '\0')}) {
        most = std::max(most, SecondsOf(begin + Repeated(bytes), read));
    }
    return most;
}

void LongRowOurs(benchmark::State& state) {
    for (auto _ : state) {
        state.SetIterationTime(MostSecondsOf("5% 5% app so [.] ", ReadAnyReport));
    }
}

void LongRowBound(benchmark::State& state) {
    const std::string rows = Repeated(
        "    64.15%    21.50%  planner_node  libc.so.6  [.] PlanRoute                        \n");
    for (auto _ : state) {
        state.SetIterationTime(SecondsOf(rows, ReadAnyReport));
    }
}

void LongHeadOurs(benchmark::State& state) {
    for (auto _ : state) {
        state.SetIterationTime(MostSecondsOf("app 1 2.0: 3 cycles:", ReadAnyScript));
    }
}

void LongHeadBound(benchmark::State& state) {
    const std::string heads = Repeated("planner_node 12009 11581.577997:     250000 cycles: \n");
    for (auto _ : state) {
        state.SetIterationTime(SecondsOf(heads, ReadAnyScript));
    }
}

BENCHMARK(ReportOurs)->Name("HotFunCollector/report/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(ReportNaive)->Name("HotFunCollector/report/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(ReportBound)->Name("HotFunCollector/report/bound")->Unit(benchmark::kMillisecond);
const Promise kReportsFast = AtLeastTimesNaive("HotFunCollector/report", 20);
const Promise kReportsNearTheBound = AtMostTimesBound("HotFunCollector/report", 3);
BENCHMARK(SetsOurs)->Name("HotFunCollector/function_set/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(SetsNaive)->Name("HotFunCollector/function_set/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(SetsBound)->Name("HotFunCollector/function_set/bound")->Unit(benchmark::kMillisecond);
const Promise kSetsFast = AtLeastTimesNaive("HotFunCollector/function_set", 10);
const Promise kSetsNearTheBound = AtMostTimesBound("HotFunCollector/function_set", 4);
const Promise kSetsKeepNoScript = AtMost("HotFunCollector/function_set/ours grown_KiB", 256);
BENCHMARK(LongRowOurs)
    ->Name("HotFunCollector/long_row/ours")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LongRowBound)
    ->Name("HotFunCollector/long_row/bound")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
const Promise kLongRowsCostTheirWords = AtMostTimesBound("HotFunCollector/long_row", 3);
BENCHMARK(LongHeadOurs)
    ->Name("HotFunCollector/long_head/ours")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LongHeadBound)
    ->Name("HotFunCollector/long_head/bound")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
const Promise kLongHeadsCostAsMuch = AtMostTimesBound("HotFunCollector/long_head", 1.5);

}  // namespace
}  // namespace zarn::bench
