#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "benchmarks/support/generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/device/imgp/imgp_table.h"
#include "foundation/files.h"

// Two slices of 500,000 lines each as the table that ImgpCollector makes of them. The bound copies
// the two files into one.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kLines = 500000;
constexpr const char* kFolder = "PROF_1/device_0/data/";
constexpr const char* kSlices[] = {"imgp.data.0.slice_0", "imgp.vpc.0.slice_0"};

std::string Number(Generator& generator, std::uint64_t bound) {
    return std::to_string(generator.Below(bound));
}

std::string DataSlice(Generator& generator) {
    std::string text = "Channel,In W*H,Out W*H,TimeStamp,Cost(us,Max Min Ave)\n";
    for (int i = 0; i < kLines; ++i) {
        text += Number(generator, 16) + ",1920*1080,1280*720," + std::to_string(1000 + i / 100) +
                " " + Number(generator, 1000000000) + "," + Number(generator, 100000) + " " +
                Number(generator, 1000) + " " + Number(generator, 10000) + "\n";
    }
    return text;
}

std::string VpcSlice(Generator& generator) {
    std::string text = "Core,TimeStamp,Utilization(%),Time(us,avg:min:max)\n";
    for (int i = 0; i < kLines; ++i) {
        text += Number(generator, 4) + "," + std::to_string(1000 + i / 100) + " " +
                Number(generator, 1000000000) + "," + Number(generator, 101) + "," +
                Number(generator, 10000) + ":" + Number(generator, 1000) + ":" +
                Number(generator, 100000) + "\n";
    }
    return text;
}

// Slices of so many lines, and the table's path.
class Trace {
public:
    Trace() {
        fs::create_directories(directory_.Path() + kFolder);
        Generator generator(1);
        for (const auto& [name, text] : {std::pair(kSlices[0], DataSlice(generator)),
                                         std::pair(kSlices[1], VpcSlice(generator))}) {
            if (WriteFile(Slice(name), text) != FileResult::Ok) {
                std::perror(Slice(name).c_str());
                std::exit(1);
            }
            size_ += text.size();
        }
    }

    [[nodiscard]] std::string Folder() const { return directory_.Path(); }
    [[nodiscard]] std::string Slice(const std::string& name) const {
        return directory_.Path() + kFolder + name;
    }
    [[nodiscard]] std::string Table() const { return directory_.Path() + "table.csv"; }
    [[nodiscard]] std::size_t Size() const { return size_; }

private:
    ScratchDir directory_;
    std::size_t size_ = 0;
};

template <typename Work>
void MakeTable(benchmark::State& state, Work work) {
    const Trace trace;
    for (auto _ : state) {
        work(trace);
        state.PauseTiming();
        fs::remove(trace.Table());
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(trace.Size()) * state.iterations());
}

void Ours(benchmark::State& state) {
    MakeTable(state, [](const Trace& trace) { WriteImgpTable(trace.Folder(), trace.Table()); });
}

void Bound(benchmark::State& state) {
    MakeTable(state, [](const Trace& trace) {
        std::array<char, 65536> buffer{};
        std::FILE* table = std::fopen(trace.Table().c_str(), "w");
        for (const char* name : kSlices) {
            std::FILE* slice = std::fopen(trace.Slice(name).c_str(), "r");
            for (std::size_t got = 1; got > 0;) {
                got = std::fread(buffer.data(), 1, buffer.size(), slice);
                std::fwrite(buffer.data(), 1, got, table);
            }
            std::fclose(slice);
        }
        std::fclose(table);
    });
}

// The cells of a line that streams cut, parted at each of `marks`.
void WriteCells(const std::string& line, const std::string& marks, std::ofstream& table) {
    std::string cells = line;
    for (char& c : cells) {
        c = marks.find(c) == std::string::npos ? c : ',';
    }
    std::istringstream stream(cells);
    for (std::string cell; std::getline(stream, cell, ',');) {
        table << cell << ',';
    }
    table << '\n';
}

void Naive(benchmark::State& state) {
    MakeTable(state, [](const Trace& trace) {
        std::ofstream table(trace.Table());
        for (const char* name : kSlices) {
            std::ifstream slice(trace.Slice(name));
            for (std::string line; std::getline(slice, line);) {
                WriteCells(line, "* :", table);
            }
        }
    });
}

BENCHMARK(Ours)->Name("ImgpCollector/slices/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("ImgpCollector/slices", 6);
BENCHMARK(Naive)->Name("ImgpCollector/slices/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(Bound)->Name("ImgpCollector/slices/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
