#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/system/cpu_peak/cpu_peak_collector.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

// What CpuPeakCollector itself costs, beside the kernel that counts: passes of a scan on this
// machine's own /proc/stat, two readings and the decision each, without the sleeps between. The
// bound opens and reads that file twice a pass.
namespace zarn::bench {
namespace {

constexpr int kPasses = 1000;

// A host whose clock moves on by a period a pass.
Host PassingHost() {
    Host host;
    host.clock.sleepFor = [](std::chrono::milliseconds, const StopFlag*) {};
    host.clock.sinceEpoch = [questions = 0]() mutable {
        // Begin and end of a pass of 2 ms, longer than the period, so that nothing is slept.
        return std::chrono::milliseconds(2) * (questions++ % 2);
    };
    return host;
}

void Scan(const std::string& tree) {
    JsonDocument config;
    (void)ParseJson(R"({"CpuPeakCollector": {"scanPeriod": 1, "maxUsage": 100.0,
        "collectionDuration": 1.0, "collectionFrequency": 99, "scanDuration": )" +
                        std::to_string(2 * kPasses - 1) + "}}",
                    config);
    CpuPeakCollector collector(CpuPeakCollector::kName, PassingHost());
    const StopFlag stopFlag{0};
    const QuietStreams quiet;
    if (!collector.CheckOptions(config, "collector") || !collector.Start(config, tree, &stopFlag)) {
        std::exit(1);
    }
}

void Ours(benchmark::State& state) {
    const ScratchDir tree;
    for (auto _ : state) {
        Scan(tree.Path());
    }
}

void Bound(benchmark::State& state) {
    std::string buffer(65536, '\0');
    for (auto _ : state) {
        for (int reading = 0; reading < 2 * kPasses; ++reading) {
            const int file = ::open("/proc/stat", O_RDONLY | O_CLOEXEC);
            if (::read(file, buffer.data(), buffer.size()) <= 0) {
                std::exit(1);
            }
            ::close(file);
        }
    }
}

BENCHMARK(Ours)->Name("CpuPeakCollector/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("CpuPeakCollector", 2);
BENCHMARK(Bound)->Name("CpuPeakCollector/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
