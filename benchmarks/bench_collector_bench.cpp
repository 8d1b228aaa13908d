#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/profiling/bench/bench_collector.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"

// What BenchCollector itself costs beside its tools: all jobs and three nodes, with a perf that
// prints what the real one prints, at once. What the real one does meanwhile takes a minute with
// nodes of 17 seconds, so the CPU time of its own is told as a share of that.
namespace zarn::bench {
namespace {

constexpr double kRunSeconds = 60.0;
constexpr double kMiB = 1 << 20;

// Tools that come first in PATH.
class FakeTools {
public:
    FakeTools() {
        WriteTool("pidof", "echo 417 418");
        WriteTool("perf",
                  "case \"$1 $3\" in\n"
                  "    'bench pipe') echo 'Total time: 5.287 [sec]\n5.287192 usecs/op\n189136 "
                  "ops/sec' ;;\n"
                  "    bench*) echo 'Total time: 0.990 [sec]\n26.393581 GB/sec' ;;\n"
                  "    *) for event in " +
                      Events() +
                      "; do echo \"   12,345,678      $event      #    2.010 of something\"; done "
                      ">&2 ;;\n"
                      "esac");
        path_ = std::getenv("PATH");
        ::setenv("PATH", (directory_.Path() + ":" + path_).c_str(), 1);
    }
    FakeTools(const FakeTools&) = delete;
    FakeTools& operator=(const FakeTools&) = delete;
    ~FakeTools() { ::setenv("PATH", path_.c_str(), 1); }

private:
    static std::string Events() {
        std::string events = "task-clock branches";
        for (const BenchCounter& counter : kBenchCounters) {
            const std::string event = counter.event;
            events += " " + event.substr(0, event.find('\\'));
        }
        return events;
    }

    void WriteTool(const std::string& name, const std::string& text) const {
        const std::string path = directory_.Path() + name;
        if (WriteFile(path, "#!/bin/sh\n" + text + "\n") != FileResult::Ok) {
            std::exit(1);
        }
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    ScratchDir directory_;
    std::string path_;
};

bool Collect() {
    const ScratchDir tree;
    std::filesystem::create_directories(tree.Path() + "json");
    std::filesystem::create_directories(tree.Path() + "env_info");
    JsonDocument config;
    (void)ParseJson(R"({"BenchCollector":{"job":["messaging","pipe","memset","memcpy","stat",)"
                    R"("vpc","venc","vdec"],"stat":{"nodes":["global","a","b"],"sleep":17}}})",
                    config);
    BenchCollector collector(BenchCollector::kName);
    const StopFlag stopFlag{0};
    const QuietStreams quiet;
    return collector.CheckOptions(config, "collector") &&
           collector.Start(config, tree.Path(), &stopFlag);
}

double OwnCpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Run(benchmark::State& state) {
    const FakeTools tools;
    double seconds = 0.0;
    for (auto _ : state) {
        const double before = OwnCpuSeconds();
        if (!Collect()) {
            state.SkipWithError("a run failed");
            return;
        }
        seconds += OwnCpuSeconds() - before;
    }
    state.counters["own_percent"] =
        100 * seconds / static_cast<double>(state.iterations()) / kRunSeconds;
    state.counters["peak_MiB"] = PeakMemoryOf(Collect) / kMiB;
}

BENCHMARK(Run)->Name("BenchCollector/run")->Unit(benchmark::kMillisecond);
const Promise kInvisible = AtMost("BenchCollector/run own_percent", 1);
const Promise kSmall = AtMost("BenchCollector/run peak_MiB", 24);

}  // namespace
}  // namespace zarn::bench
