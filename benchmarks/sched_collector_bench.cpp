#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "benchmarks/support/cpu_time.h"
#include "benchmarks/support/generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/system/sched/sched_collector.h"
#include "foundation/files.h"
#include "foundation/json.h"

// What SchedCollector adds to its tools: a run of "global" over a latency report of 1,000,000 idle
// lines and 1000 tasks, with tools that cost nothing, held to counting the lines of the report; and
// 20 passes with tools that do next to nothing, held to starting the same shell lines.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kIdleLines = 1000000;
constexpr int kTasks = 1000;
constexpr const char* kTime = "20230101120000000";
constexpr const char* kReport = "raw_data/sched/sched_global_latency_max_1_20230101120000000.log";

constexpr const char* kConfig =
    R"({"SchedCollector":{"job":["global"],"sched":{"is_call_record":false,"duration":1,)"
    R"("topN":1000,"sorted":"max"}}})";

// Commands that do nothing.
class NoRunner final : public CommandRunner {
public:
    int Run(const std::string& /*command*/) override { return 0; }
    bool Capture(const std::string& /*command*/, std::string& output) override {
        output += "20230101000000\n";
        return true;
    }
};

std::string ReportText() {
    Generator generator(1);
    std::string text = "\n -----\n  Task | Runtime ms | Count\n -----\n";
    for (int i = 0; i < kIdleLines; ++i) {
        text += "  <idle>:0              |      0.000 ms |        1 | avg:   0.000 ms\n";
        if (i % (kIdleLines / kTasks) == 0) {
            text += "  task_" + std::to_string(i) + "   |      " +
                    std::to_string(generator.Below(1000)) +
                    ".001 ms |        7 | avg:   0.012 ms | max:   0.345 ms | max start:  "
                    "12.345678 s | max end:  12.346023 s\n";
        }
    }
    return text + " -----------------\n  TOTAL: | 1 ms | 1 |\n";
}

// A tree in which perf has left its report.
class Tree {
public:
    Tree() {
        for (const char* folder : {"raw_data/sched", "json", "csv", "env_info"}) {
            fs::create_directories(directory_.Path() + folder);
        }
        const std::string text = ReportText();
        size_ = text.size();
        if (WriteFile(Report(), text) != FileResult::Ok) {
            std::perror(Report().c_str());
            std::exit(1);
        }
    }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] std::string Report() const { return Path() + kReport; }
    [[nodiscard]] std::size_t Size() const { return size_; }

private:
    ScratchDir directory_;
    std::size_t size_ = 0;
};

template <typename Work>
void Convert(benchmark::State& state, Work work) {
    const Tree tree;
    for (auto _ : state) {
        work(tree);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(tree.Size()) * state.iterations());
}

void Ours(benchmark::State& state) {
    const QuietStreams quiet;
    NoRunner runner;
    Host host{runner};
    host.clock.currentTime = [](std::string& time) {
        time = kTime;
        return true;
    };
    JsonDocument config;
    if (!ParseJson(kConfig, config)) {
        std::exit(1);
    }
    const StopFlag stopFlag{0};
    Convert(state, [&](const Tree& tree) {
        SchedCollector collector(SchedCollector::kName, host);
        if (!collector.CheckOptions(config, "") ||
            !collector.Start(config, tree.Path(), &stopFlag)) {
            std::exit(1);
        }
    });
}

void Bound(benchmark::State& state) {
    Convert(state, [](const Tree& tree) {
        LineFile lines(tree.Report());
        std::size_t count = 0;
        for (std::string_view line; lines.Next(line);) {
            ++count;
        }
        benchmark::DoNotOptimize(count);
    });
}

// Streams, and every line cut whether it counts or not.
void Naive(benchmark::State& state) {
    Convert(state, [](const Tree& tree) {
        std::string text;
        if (ReadFile(tree.Report(), text) != FileResult::Ok) {
            std::exit(1);
        }
        std::istringstream lines(text);
        std::size_t cells = 0;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream stream(line);
            for (std::string cell; std::getline(stream, cell, '|');) {
                if (cell.find("idle") == std::string::npos) {
                    ++cells;
                }
            }
        }
        benchmark::DoNotOptimize(cells);
    });
}

constexpr const char* kPassesConfig =
    R"({"SchedCollector":{"job":["global","core","process","priority_affinity"],"count":20,)"
    R"("sched":{"is_call_record":false,"duration":1,"topN":10,"sorted":"max","coreID":[0],)"
    R"("process":["app"]},"priority_affinity":{"process":["app"],"thread":["app"]}}})";

// The tools in a folder of their own, which is the first of PATH as long as this lives.
class FastTools {
public:
    FastTools() : path_(std::getenv("PATH")) {
        Add("perf", "");
        Add("pidof", "echo 1\n");
        Add("ps", "echo ' 1 1 ? 00:00:00 app'\n");
        Add("taskset", "echo \"pid $2's current affinity list: 0\"\n");
        Add("chrt", "echo \"pid $2's current scheduling policy: SCHED_OTHER\"\n");
        Add("top", "echo ' 1 root 20 0 1 2 3 S 0.0 0.1 0:00.22 app'\n");
        ::setenv("PATH", (directory_.Path() + ":" + path_).c_str(), 1);
    }
    FastTools(const FastTools&) = delete;
    FastTools& operator=(const FastTools&) = delete;
    ~FastTools() { ::setenv("PATH", path_.c_str(), 1); }

private:
    void Add(const std::string& name, const std::string& body) const {
        const std::string path = directory_.Path() + name;
        if (WriteFile(path, "#!/bin/sh\n" + body) != FileResult::Ok) {
            std::perror(path.c_str());
            std::exit(1);
        }
        fs::permissions(path, fs::perms::owner_all);
    }

    ScratchDir directory_;
    std::string path_;
};

// Runs the lines, and notes them.
class NotingRunner final : public CommandRunner {
public:
    int Run(const std::string& command) override {
        lines.push_back(command);
        return SystemCommandRunner().Run(command);
    }
    bool Capture(const std::string& command, std::string& output) override {
        lines.push_back(command);
        return SystemCommandRunner().Capture(command, output);
    }

    std::vector<std::string> lines;
};

// One collection into a fresh tree at `path`.
bool Collect(const std::string& path, CommandRunner& runner) {
    fs::remove_all(path);
    for (const char* folder : {"json", "csv", "env_info"}) {
        fs::create_directories(path + folder);
    }
    Host host{runner};
    host.clock.currentTime = [](std::string& time) {
        time = kTime;
        return true;
    };
    JsonDocument config;
    const StopFlag stopFlag{0};
    SchedCollector collector(SchedCollector::kName, host);
    return ParseJson(kPassesConfig, config) && collector.CheckOptions(config, "collector") &&
           collector.Start(config, path, &stopFlag);
}

void PassOurs(benchmark::State& state) {
    const FastTools tools;
    const ScratchDir tree;
    bool good = true;
    for (auto _ : state) {
        const QuietStreams quiet;
        const double before = SecondsWithChildren();
        good = Collect(tree.Path() + "run/", SystemCommandRunner()) && good;
        state.SetIterationTime(SecondsWithChildren() - before);
    }
    if (!good) {
        state.SkipWithError("a collection failed");
    }
}

// The same lines from a loop.
void PassBound(benchmark::State& state) {
    const FastTools tools;
    const ScratchDir tree;
    const std::string path = tree.Path() + "run/";
    NotingRunner runner;
    const QuietStreams quiet;
    bool good = Collect(path, runner);
    for (auto _ : state) {
        const double before = SecondsWithChildren();
        fs::remove_all(path);
        fs::create_directories(path + "raw_data/sched");
        for (const std::string& line : runner.lines) {
            good = std::system(line.c_str()) == 0 && good;
        }
        state.SetIterationTime(SecondsWithChildren() - before);
    }
    if (!good) {
        state.SkipWithError("a line failed");
    }
}

BENCHMARK(PassOurs)
    ->Name("SchedCollector/passes/ours")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
const Promise kPassesNearTheBound = AtMostTimesBound("SchedCollector/passes", 1.3);
BENCHMARK(PassBound)
    ->Name("SchedCollector/passes/bound")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

BENCHMARK(Ours)->Name("SchedCollector/report/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("SchedCollector/report", 6);
BENCHMARK(Naive)->Name("SchedCollector/report/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(Bound)->Name("SchedCollector/report/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
