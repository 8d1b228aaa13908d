#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/support/cpu_time.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/device/aicpu/aicpu_collector.h"
#include "formats/aicpu.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

// What AicpuCollector itself costs beside its shell lines: 40 passes with all jobs, children
// included.
namespace zarn::bench {
namespace {

constexpr unsigned kPasses = 40;
constexpr const char* kTime = "20240101120000000";

void WriteOrExit(const std::string& path, const std::string& text) {
    if (WriteFile(path, text) != FileResult::Ok) {
        std::perror(path.c_str());
        std::exit(1);
    }
}

// The event scheduler's files, of a page each, below a root of their own.
class Node {
public:
    Node() {
        const std::string node = Root() + "devices/virtual/event_sched/event_sched/node/";
        std::filesystem::create_directories(node);
        std::filesystem::create_directories(Root() + "fs/cgroup/cpuset/AICPU");
        WriteOrExit(Root() + "fs/cgroup/cpuset/AICPU/cpuset.cpus", "1-3\n");
        for (const AicpuList* list : {&aicpuDeviceList, &aicpuCoreList, &aicpuEventList,
                                      &aicpuAbnormalList, &aicpuProcessList}) {
            for (const std::string& attribute : list->attributes) {
                WriteOrExit(node + attribute, std::string(4095, 'x') + "\n");
            }
        }
        WriteOrExit(node + "proc_list", "1201,perception,3,2,1\n");
        WriteOrExit(node + "cpu_thread_info", "1,1201,31,perception_0,idle\n");
    }

    [[nodiscard]] std::string Root() const { return directory_.Path() + "sys/"; }

private:
    ScratchDir directory_;
};

// Runs the lines, and notes them.
class NotingRunner final : public CommandRunner {
public:
    int Run(const std::string& command) override {
        lines.push_back(command);
        return SystemCommandRunner().Run(command);
    }
    bool Capture(const std::string& /*command*/, std::string& /*output*/) override { return false; }

    std::vector<std::string> lines;
};

// One collection into a fresh tree at `path`.
bool Collect(const Node& node, const std::string& path, CommandRunner& runner) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path + "json");
    std::filesystem::create_directories(path + "env_info");
    Host host{runner};
    host.sysRoot = node.Root();
    host.clock.currentTime = [](std::string& time) {
        time = kTime;
        return true;
    };
    host.clock.sleepSeconds = [](std::uint32_t, const StopFlag*) {};
    JsonDocument config;
    (void)ParseJson(R"({"AicpuCollector":{"aicpu_job":["core","event","abnormal"],)"
                    R"("aicpu_process":["perception"],"aicpu_cid":[1],"interval":1,"count":)" +
                        std::to_string(kPasses) + "}}",
                    config);
    const StopFlag stopFlag{0};
    AicpuCollector collector(AicpuCollector::kName, host);
    return collector.CheckOptions(config, "collector") && collector.Start(config, path, &stopFlag);
}

void PassOurs(benchmark::State& state) {
    const Node node;
    const ScratchDir tree;
    bool good = true;
    for (auto _ : state) {
        const QuietStreams quiet;
        const double before = SecondsWithChildren();
        good = Collect(node, tree.Path() + "run/", SystemCommandRunner()) && good;
        state.SetIterationTime(SecondsWithChildren() - before);
    }
    if (!good) {
        state.SkipWithError("a collection failed");
    }
}

// The same lines from a loop.
void PassBound(benchmark::State& state) {
    const Node node;
    const ScratchDir tree;
    const std::string path = tree.Path() + "run/";
    NotingRunner runner;
    {
        const QuietStreams quiet;
        (void)Collect(node, path, runner);
    }
    for (auto _ : state) {
        const double before = SecondsWithChildren();
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path + aicpu_files::kRawDir);
        for (const std::string& line : runner.lines) {
            if (std::system(line.c_str()) != 0) {
                state.SkipWithError("a line failed");
            }
        }
        state.SetIterationTime(SecondsWithChildren() - before);
    }
}

BENCHMARK(PassOurs)
    ->Name("AicpuCollector/passes/ours")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
const Promise kPassesNearTheBound = AtMostTimesBound("AicpuCollector/passes", 1.1);
BENCHMARK(PassBound)
    ->Name("AicpuCollector/passes/bound")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
