#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/support/ddr_generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/hot_fun.h"
#include "formats/sched.h"
#include "formats/sched_timehist.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "kit/event_reader.h"
#include "report/compose.h"

// The report of a tree of more than 100 MB: documents, a table, a history and samples with their
// stacks, against reading the lines of the same files and parsing each once.
namespace zarn::bench {
namespace {

constexpr const char* kTime = "20260101000000000";
constexpr std::size_t kDocuments = 80000;
constexpr std::size_t kTableRows = 300000;
constexpr std::size_t kHistoryRows = 350000;
constexpr std::size_t kSamples = 60000;
constexpr double kMebibyte = 1048576.0;

// The moments of samples a tenth of a second apart.
std::string MomentDigits(std::size_t sample) {
    const std::size_t second = sample / 10;
    char digits[32];
    std::snprintf(digits, sizeof(digits), "202601%02zu%02zu%02zu%02zu%zu00",
                  1 + second / 86400 % 28, second / 3600 % 24, second / 60 % 60, second % 60,
                  sample % 10);
    return digits;
}

std::string LoadingTable() {
    constexpr int kCores = 12;
    std::mt19937 random(1);
    std::string text = "happen_time,total,";
    for (int core = 0; core < kCores; ++core) {
        text += "Cpu" + std::to_string(core) + ",";
    }
    text += "\n";
    for (std::size_t row = 0; row < kTableRows; ++row) {
        text += "'" + MomentDigits(row) + ",";
        for (int column = 0; column <= kCores; ++column) {
            AppendNumber(text, static_cast<double>(random() % 1000) / 10.0);
            text += ",";
        }
        text += "\n";
    }
    return text;
}

std::string History() {
    std::mt19937 random(2);
    std::string text = "head\nhead\nhead\n";
    char row[128];
    for (std::size_t i = 0; i < kHistoryRows; ++i) {
        std::snprintf(row, sizeof(row), "%15.6f [%04zu]  task%u[%u/%u]  %9.3f  %9.3f  %9.3f\n",
                      100.0 + static_cast<double>(i) / 1e4, i % 12,
                      static_cast<unsigned>(random() % 300), static_cast<unsigned>(i % 300),
                      static_cast<unsigned>(i % 30), static_cast<double>(random() % 1000) / 1e3,
                      static_cast<double>(random() % 1000) / 1e3,
                      static_cast<double>(random() % 5000) / 1e3);
        text += row;
    }
    return text;
}

// Samples of a program of some hundred functions, which call one another in some thousand ways.
std::string Script() {
    constexpr unsigned kDepth = 8;
    std::mt19937 random(3);
    std::string text;
    char line[128];
    for (std::size_t sample = 0; sample < kSamples; ++sample) {
        std::snprintf(line, sizeof(line),
                      "frame_worker 16586 [%03zu] %zu.%06zu:     500000 cycles: \n", sample % 12,
                      sample / 1000, sample % 1000 * 1000);
        text += line;
        const auto path = static_cast<unsigned>(random() % 4096);
        for (unsigned depth = kDepth; depth > 0; --depth) {
            const unsigned function = depth * 16 + ((path >> (2 * (kDepth - depth) % 12)) & 15U);
            std::snprintf(line, sizeof(line),
                          "\t        %8x filter_image_%u+0x%x (/usr/bin/frame_worker)\n",
                          function * 4096, function, static_cast<unsigned>(random() % 4096));
            text += line;
        }
        text += "\n";
    }
    return text;
}

// The tree, made once for all rows.
class Tree {
public:
    Tree() {
        Add(ddr_files::kBandwidth.Path(Path(), kTime),
            DdrGenerator(1).BandwidthDocuments(kDocuments));
        Add(cpu_files::kLoadingTable.Path(Path(), kTime), LoadingTable());
        Add(Path() + sched_files::kRawDir +
                sched_files::TimehistName(sched_files::GlobalTarget(), 1, kTime),
            History());
        Add(Path() + hot_fun_files::kRawDir +
                hot_fun_files::RawName(hot_fun_files::kGlobal, kTime) +
                hot_fun_files::kScriptSuffix,
            Script());
    }

    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const std::vector<std::string>& Files() const { return files_; }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }
    [[nodiscard]] bool IsReady() const { return ready_; }

private:
    void Add(const std::string& path, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        ready_ = WriteFile(path, text) == FileResult::Ok && ready_;
        files_.push_back(path);
        bytes_ += text.size();
    }

    ScratchDir directory_;
    std::vector<std::string> files_;
    std::size_t bytes_ = 0;
    bool ready_ = true;
};

const Tree& SharedTree() {
    static const Tree tree;
    return tree;
}

// The data of a page of the tree; the size of its text.
std::size_t MakeReport() {
    report::Files files;
    const report::Report report = report::ComposeReport({SharedTree().Path()}, {"run"}, files,
                                                        [](const std::string& /*what*/) {});
    std::size_t size = 0;
    report::WritePayload(report, files, [&size](std::string_view piece) { size += piece.size(); });
    return size;
}

void ReportOurs(benchmark::State& state) {
    std::size_t size = 0;
    bool good = SharedTree().IsReady();
    for (auto _ : state) {
        size = MakeReport();
        good = good && size > 0;
    }
    if (!good) {
        state.SkipWithError("there is no report");
    }
    state.counters["report_mb"] = static_cast<double>(size) / kMebibyte;
    state.counters["peak_mb"] = PeakMemoryOf([] { return MakeReport() > 0; }) / kMebibyte;
    state.SetBytesProcessed(static_cast<std::int64_t>(SharedTree().Bytes()) * state.iterations());
}
BENCHMARK(ReportOurs)->Name("ReportTree/ours")->Unit(benchmark::kMillisecond);
const Promise kReadsNearTheBound = AtMostTimesBound("ReportTree", 3);
const Promise kTakesLittleMemory = AtMost("ReportTree/ours peak_mb", 300);
const Promise kStaysSmall = AtMost("ReportTree/ours report_mb", 30);

// The numbers of a line's cells or columns.
double SumOf(std::string_view line, char delimiter) {
    double sum = 0.0;
    PieceCursor pieces(line, delimiter);
    for (std::string_view piece; pieces.Next(piece);) {
        sum += NumberIn(piece).value_or(0.0);
    }
    return sum;
}

// Each line of the file read, and parsed as what it is.
double ParseOnce(const std::string& path) {
    double sum = 0.0;
    LineFile lines(path);
    EventDocument document;
    const std::string suffix = std::filesystem::path(path).extension().string();
    for (std::string_view line; lines.Next(line);) {
        TimehistRow row;
        if (suffix == ".data") {
            sum += document.Read(line) ? 1.0 : 0.0;
        } else if (suffix == ".csv") {
            sum += SumOf(line, ',');
        } else if (suffix == ".log" && ReadTimehistRow(line, row)) {
            for (const std::string_view column :
                 {row.time, row.waitTime, row.schedDelay, row.runTime}) {
                sum += NumberIn(column).value_or(0.0);
            }
        } else {
            PieceCursor pieces(line, ' ');
            for (std::string_view piece; pieces.Next(piece);) {
                sum += static_cast<double>(piece.size());
            }
        }
    }
    return sum;
}

void ReportBound(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::string& path : SharedTree().Files()) {
            benchmark::DoNotOptimize(ParseOnce(path));
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(SharedTree().Bytes()) * state.iterations());
}
BENCHMARK(ReportBound)->Name("ReportTree/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
