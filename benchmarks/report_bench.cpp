#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <string_view>
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

// The report of a tree of 1 GB: documents, a table, a history and samples with their stacks,
// against reading the lines of the same files and parsing each once.
namespace zarn::bench {
namespace {

constexpr const char* kTime = "20260101000000000";
constexpr std::size_t kFileBytes = 250000000;         // of each of the four
constexpr std::size_t kPiece = std::size_t{1} << 20;  // bytes that are written at once
// Rows that are drawn. They come again and again, each time at a later moment, since drawing all of
// them would take longer than what is measured.
constexpr std::size_t kDrawn = 8191;
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

// Appends the row of that number.
using AppendRow = std::function<void(std::size_t row, std::string& text)>;

AppendRow BandwidthRows() {
    std::vector<std::string> documents;
    SplitString(DdrGenerator(1).BandwidthDocuments(kDrawn), "\n", documents);
    return [documents](std::size_t row, std::string& text) {
        constexpr std::string_view kMember = "\"happenTime\":\"";
        const std::string& document = documents[row % kDrawn];
        const std::size_t digits = document.find(kMember) + kMember.size();
        text.append(document, 0, digits).append(MomentDigits(row));
        text.append(document, document.find('"', digits)).append("\n");
    };
}

constexpr int kCores = 12;

std::string LoadingHead() {
    std::string text = "happen_time,total,";
    for (int core = 0; core < kCores; ++core) {
        text += "Cpu" + std::to_string(core) + ",";
    }
    return text + "\n";
}

AppendRow LoadingRows() {
    std::mt19937 random(1);
    std::vector<std::string> loads(kDrawn);
    for (std::string& cells : loads) {
        for (int column = 0; column <= kCores; ++column) {
            AppendNumber(cells, static_cast<double>(random() % 1000) / 10.0);
            cells += ",";
        }
    }
    return [loads](std::size_t row, std::string& text) {
        text.append("'").append(MomentDigits(row)).append(",");
        text.append(loads[row % kDrawn]).append("\n");
    };
}

AppendRow HistoryRows() {
    std::mt19937 random(2);
    std::vector<std::string> runs(kDrawn);
    char columns[128];
    for (std::size_t i = 0; i < kDrawn; ++i) {
        std::snprintf(columns, sizeof(columns), "  task%u[%u/%u]  %9.3f  %9.3f  %9.3f\n",
                      static_cast<unsigned>(random() % 300), static_cast<unsigned>(i % 300),
                      static_cast<unsigned>(i % 30), static_cast<double>(random() % 1000) / 1e3,
                      static_cast<double>(random() % 1000) / 1e3,
                      static_cast<double>(random() % 5000) / 1e3);
        runs[i] = columns;
    }
    return [runs](std::size_t row, std::string& text) {
        char begin[64];
        std::snprintf(begin, sizeof(begin), "%15.6f [%04zu]",
                      100.0 + static_cast<double>(row) / 1e4, row % 12);
        text.append(begin).append(runs[row % kDrawn]);
    };
}

// Samples of a program of some hundred functions, which call one another in some thousand ways.
AppendRow ScriptSamples() {
    constexpr unsigned kDepth = 8;
    std::mt19937 random(3);
    std::vector<std::string> stacks(kDrawn);
    char line[128];
    for (std::string& stack : stacks) {
        const auto path = static_cast<unsigned>(random() % 4096);
        for (unsigned depth = kDepth; depth > 0; --depth) {
            const unsigned function = depth * 16 + ((path >> (2 * (kDepth - depth) % 12)) & 15U);
            std::snprintf(line, sizeof(line),
                          "\t        %8x filter_image_%u+0x%x (/usr/bin/frame_worker)\n",
                          function * 4096, function, static_cast<unsigned>(random() % 4096));
            stack += line;
        }
    }
    return [stacks](std::size_t sample, std::string& text) {
        char head[128];
        std::snprintf(head, sizeof(head),
                      "frame_worker 16586 [%03zu] %zu.%06zu:     500000 cycles: \n", sample % 12,
                      sample / 1000, sample % 1000 * 1000);
        text.append(head).append(stacks[sample % kDrawn]).append("\n");
    };
}

// The tree, made once for all rows.
class Tree {
public:
    Tree() {
        Add(ddr_files::kBandwidth.Path(Path(), kTime), "", BandwidthRows());
        Add(cpu_files::kLoadingTable.Path(Path(), kTime), LoadingHead(), LoadingRows());
        Add(Path() + sched_files::kRawDir +
                sched_files::TimehistName(sched_files::GlobalTarget(), 1, kTime),
            "head\nhead\nhead\n", HistoryRows());
        Add(Path() + hot_fun_files::kRawDir +
                hot_fun_files::RawName(hot_fun_files::kGlobal, kTime) +
                hot_fun_files::kScriptSuffix,
            "", ScriptSamples());
    }

    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] const std::vector<std::string>& Files() const { return files_; }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }
    // Whether it could be written: there may be no room for it.
    [[nodiscard]] bool IsReady() const { return ready_; }

private:
    // A file of kFileBytes, written piece by piece: in memory it would stand beside the report's.
    void Add(const std::string& path, std::string text, const AppendRow& appendRow) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        files_.push_back(path);
        std::size_t written = 0;
        for (std::size_t row = 0; ready_ && written < kFileBytes; ++row) {
            appendRow(row, text);
            if (text.size() >= kPiece) {
                ready_ = AppendFile(path, text) == FileResult::Ok;
                written += text.size();
                text.clear();
            }
        }
        bytes_ += written;
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

constexpr const char* kNoTree = "the tree of 1 GB cannot be written into the temporary folder";

// So long a pass is measured once in a repetition, and not as often as shorter ones.
constexpr int kRepetitions = 3;

void ReportOurs(benchmark::State& state) {
    if (!SharedTree().IsReady()) {
        state.SkipWithError(kNoTree);
        return;
    }
    std::size_t size = 0;
    double peak = 0.0;
    for (auto _ : state) {
        peak = PeakMemoryOf([&size] {
            size = MakeReport();
            return size > 0;
        });
    }
    if (peak < 0.0) {
        state.SkipWithError("there is no report");
    }
    state.counters["report_mb"] = static_cast<double>(size) / kMebibyte;
    state.counters["peak_mb"] = peak / kMebibyte;
    state.SetBytesProcessed(static_cast<std::int64_t>(SharedTree().Bytes()) * state.iterations());
}
BENCHMARK(ReportOurs)
    ->Name("ReportTree/ours")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(kRepetitions);
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
    if (!SharedTree().IsReady()) {
        state.SkipWithError(kNoTree);
        return;
    }
    for (auto _ : state) {
        for (const std::string& path : SharedTree().Files()) {
            benchmark::DoNotOptimize(ParseOnce(path));
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(SharedTree().Bytes()) * state.iterations());
}
BENCHMARK(ReportBound)
    ->Name("ReportTree/bound")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(kRepetitions);

}  // namespace
}  // namespace zarn::bench
