#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/profiling/lib/lib_collector.h"
#include "foundation/files.h"

// What a minute of recordings costs the collector itself: 60 processes of a second each, with a
// perf and a pidof that do next to nothing. The tools' own time does not count; the waiting of real
// ones costs nothing.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kRecordings = 60;

// The tools, first in PATH.
class Tools {
public:
    Tools() : ready_(Make("pidof", "#!/bin/sh\necho 417\n") && Make("perf", "#!/bin/sh\n")) {
        const char* path = std::getenv("PATH");
        ::setenv("PATH", (directory_.Path() + ":" + (path == nullptr ? "" : path)).c_str(), 1);
    }

    [[nodiscard]] bool Ready() const { return ready_; }

private:
    [[nodiscard]] bool Make(const char* name, const char* script) const {
        const std::string path = directory_.Path() + name;
        const bool written = WriteFile(path, script) == FileResult::Ok;
        fs::permissions(path, fs::perms::owner_all);
        return written;
    }

    ScratchDir directory_;
    bool ready_;
};

std::string Config() {
    std::string processes;
    for (int i = 0; i < kRecordings; ++i) {
        processes += (i == 0 ? "\"service_" : ",\"service_") + std::to_string(i) + "\"";
    }
    return R"({"LibCollector":{"process":[)" + processes + R"(],"duration":1}})";
}

bool Collect() {
    const ScratchDir tree;
    fs::create_directories(tree.Path() + "env_info");
    const StopFlag stopFlag{0};
    JsonDocument config;
    LibCollector collector(LibCollector::kName);
    return ParseJson(Config(), config) && collector.CheckOptions(config, "collector") &&
           collector.Start(config, tree.Path(), &stopFlag);
}

double OwnSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void Minute(benchmark::State& state) {
    const Tools tools;
    const QuietStreams quiet;
    bool good = tools.Ready();
    for (auto _ : state) {
        const double before = OwnSeconds();
        good = good && Collect();
        state.SetIterationTime(OwnSeconds() - before);
    }
    state.counters["memory_MiB"] = PeakMemoryOf(Collect) / (1U << 20U);
    if (!good) {
        state.SkipWithError("a run failed");
    }
}

BENCHMARK(Minute)->Name("LibCollector/minute/ours")->UseManualTime()->Unit(benchmark::kMillisecond);
const Promise kUnderAHundredthOfACore = AtMost("LibCollector/minute", 600);
const Promise kSmall = AtMost("LibCollector/minute/ours memory_MiB", 24);

}  // namespace
}  // namespace zarn::bench
