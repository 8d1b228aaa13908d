#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "benchmarks/support/perf_text_generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "comparators/hot_fun/diff_rows.h"
#include "comparators/hot_fun/hot_fun_comparator.h"
#include "formats/hot_fun.h"
#include "foundation/command_runner.h"
#include "foundation/files.h"
#include "foundation/json.h"

// A diff of 100,000 rows to its table by the comparator, whose tool hands over a file that is there
// already, beside the plain form and a copy of the file; and rows of 16 MB of hard bytes beside as
// many ordinary ones.
namespace zarn::bench {
namespace {

constexpr std::size_t kRows = 100000;
constexpr std::size_t kLongest = 16U << 20U;
constexpr const char* kHeadings = "# Baseline  Delta Abs  Shared Object  Symbol          ";

// A `perf diff` that is done already, and no other tool.
class DoneAlready final : public CommandRunner {
public:
    int Run(const std::string& /*command*/) override { return 0; }
    [[nodiscard]] bool Capture(const std::string& /*command*/, std::string& /*output*/) override {
        return false;
    }
};

// A tree that is both versions and the run, its folder the working directory.
class Tree {
public:
    Tree() {
        std::filesystem::create_directories(Path() + "env_info");
        std::filesystem::create_directories(Path() + hot_fun_files::kRawDir);
        std::filesystem::current_path(Path());
        const std::string recording =
            hot_fun_files::RawName(hot_fun_files::kGlobal, "1") + hot_fun_files::kRecordingSuffix;
        ready_ = WriteFile(Path() + hot_fun_files::kRawDir + recording, "") == FileResult::Ok &&
                 WriteFile("global.temp", PerfTextGenerator(1).Diff(kRows)) == FileResult::Ok;
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }

private:
    ScratchDir directory_;
    bool ready_ = false;
};

// Each time into a file that is not there yet, as in a run.
void RunOn(benchmark::State& state, const std::string& made,
           const std::function<bool(const Tree&)>& work) {
    const Tree tree;
    bool good = tree.Ready();
    for (auto _ : state) {
        good = good && work(tree);
        state.PauseTiming();
        good = good && std::filesystem::remove(tree.Path() + made);
        state.ResumeTiming();
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
    std::filesystem::current_path("/");
}

bool Compare(const Tree& tree) {
    JsonDocument config;
    DoneAlready runner;
    Host host{runner};
    const StopFlag stopFlag{0};
    HotFunComparator comparator(HotFunComparator::kName, {{"v1", tree.Path()}, {"v2", tree.Path()}},
                                host);
    return ParseJson(R"({"HotFunComparator":{"job":["global"]}})", config) &&
           comparator.CheckOptions(config, "comparator") &&
           comparator.Start(config, tree.Path(), &stopFlag);
}

// All lines, then all cells as texts, then the table cell by cell.
bool ComparePlainly(const Tree& tree) {
    std::ifstream diff("global.temp");
    std::vector<std::string> lines;
    std::set<std::size_t> ends;
    for (std::string line; std::getline(diff, line);) {
        if (line.empty() || line[0] != '#') {
            lines.push_back(line);
        } else if (line.size() >= 2 && line.substr(2, 8) == "Baseline") {
            for (std::size_t i = 0; i + 1 < line.size(); ++i) {
                if (std::string("0123456789es").find(line[i]) != std::string::npos &&
                    line[i + 1] == ' ') {
                    ends.insert(i);
                }
            }
        }
    }
    std::vector<std::string> cells;
    std::string word;
    const auto endWord = [&cells, &word] {
        if (!word.empty() && word != "[k]" && word != "[.]") {
            cells.push_back(word);
        }
        word.clear();
    };
    for (const std::string& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] != ' ') {
                word.push_back(line[i]);
                continue;
            }
            if (ends.count(i) != 0) {
                cells.emplace_back(" ");
            }
            endWord();
        }
        endWord();
    }
    std::ofstream table(tree.Path() + "plain.csv");
    table << "v1,v2,Shared Object,Symbol"
          << "\n";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        table << "\"" << cells[i] << "\"";
        if ((i + 1) % 4 == 0) {
            table << "\n";
        } else {
            table << ",";
        }
    }
    return cells.size() == 4 * kRows;
}

bool CopyDiff(const Tree& tree) {
    std::string text;
    return ReadFile("global.temp", text) == FileResult::Ok &&
           WriteFile(tree.Path() + "copy", text) == FileResult::Ok;
}

void DiffOurs(benchmark::State& state) {
    RunOn(state, hot_fun_files::kCsvDir + hot_fun_files::ComparisonName(hot_fun_files::kGlobal),
          Compare);
}

void DiffNaive(benchmark::State& state) {
    RunOn(state, "plain.csv", ComparePlainly);
}

void DiffBound(benchmark::State& state) {
    RunOn(state, "copy", CopyDiff);
}

double CpuSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// CPU time of a text's way into a table.
double SecondsOf(const std::string& text) {
    const double before = CpuSeconds();
    DiffColumns columns;
    columns.Read(kHeadings);
    DiffTable table({"v1", "v2"},
                    [](std::string_view piece) { benchmark::DoNotOptimize(piece.data()); });
    LineCursor cursor(text);
    for (std::string_view row; cursor.Next(row);) {
        table.Add(row, columns);
    }
    table.Flush();
    return CpuSeconds() - before;
}

// kLongest bytes at least.
std::string Repeated(const std::string& piece) {
    std::string text;
    while (text.size() < kLongest) {
        text += piece;
    }
    return text;
}

// The line that costs most: one of short words, each a cell.
void LongLinesOurs(benchmark::State& state) {
    std::vector<std::string> lines;
    for (const std::string& bytes :
         {std::string("x"), std::string(" "), std::string("x "), std::string("xx "),
          std::string("x  "), std::string("x xx  "), std::string("[k] "), std::string("1 "),
          std::string(1, '\0')}) {
        lines.push_back(Repeated(bytes));
    }
    for (auto _ : state) {
        double most = 0.0;
        for (const std::string& line : lines) {
            most = std::max(most, SecondsOf(line));
        }
        state.SetIterationTime(most);
    }
}

void LongLinesBound(benchmark::State& state) {
    const std::string rows = Repeated(
        "    64.15%    -23.25%  planner_node         [.] PlanRoute                      \n");
    for (auto _ : state) {
        state.SetIterationTime(SecondsOf(rows));
    }
}

BENCHMARK(DiffOurs)
    ->Name("HotFunComparator/diff/ours")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(DiffNaive)
    ->Name("HotFunComparator/diff/naive")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(DiffBound)
    ->Name("HotFunComparator/diff/bound")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
const Promise kDiffsFast = AtLeastTimesNaive("HotFunComparator/diff", 5);
const Promise kDiffsNearTheBound = AtMostTimesBound("HotFunComparator/diff", 10);
BENCHMARK(LongLinesOurs)
    ->Name("HotFunComparator/long_lines/ours")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LongLinesBound)
    ->Name("HotFunComparator/long_lines/bound")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
const Promise kLongLinesCostTheirCells = AtMostTimesBound("HotFunComparator/long_lines", 5);

}  // namespace
}  // namespace zarn::bench
