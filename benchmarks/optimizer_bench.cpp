#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include "benchmarks/support/scratch_dir.h"
#include "collectors/system/ddr/qos_access.h"
#include "foundation/files.h"
#include "optimizer/benchmark/stress_benchmark.h"
#include "optimizer/opt_log.h"
#include "optimizer/search/pso_search.h"
#include "optimizer/search/pso_swarm.h"
#include "optimizer/search/significance.h"

// What the optimizer itself costs beside the benchmark runs that it waits for.
namespace zarn::bench {
namespace {

constexpr int kSamples = 26;

// A device that takes everything at no cost.
class NullDevice final : public DeviceLibrary {
public:
    int GetCount(int* /*count*/) override { return 1; }
    int List(int* /*devices*/, int /*count*/) override { return 1; }
    int GetInfo(std::uint32_t /*device*/, std::uint32_t /*mainCommand*/,
                std::uint32_t /*subCommand*/, void* /*buffer*/, std::uint32_t* /*size*/) override {
        return 0;
    }
    int SetInfo(std::uint32_t /*device*/, std::uint32_t /*mainCommand*/,
                std::uint32_t /*subCommand*/, const void* /*buffer*/,
                std::uint32_t /*size*/) override {
        return 0;
    }
};

// Commands that succeed without being run.
class NullRunner final : public CommandRunner {
public:
    int Run(const std::string& /*command*/) override { return 0; }
    bool Capture(const std::string& /*command*/, std::string& /*output*/) override { return true; }
};

// Counts the commands and runs them by the C library, as bare as can be.
class BareRunner final : public CommandRunner {
public:
    int Run(const std::string& command) override {
        commands.push_back(command);
        return SystemCommandRunner().Run(command);
    }
    bool Capture(const std::string& command, std::string& output) override {
        return SystemCommandRunner().Capture(command, output);
    }
    std::vector<std::string> commands;
};

// The optimizer's lines go nowhere while one of these lives.
class Silence {
public:
    Silence() : saved_(::dup(STDOUT_FILENO)) {
        const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(null, STDOUT_FILENO);
        ::close(null);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        ::dup2(saved_, STDOUT_FILENO);
        ::close(saved_);
    }

private:
    int saved_;
};

// A stress log whose CPU rates lie around `cpu`.
std::string StressLog(double cpu) {
    std::string log = "1\n2\n3\n4\n";
    for (int i = 0; i < kSamples; ++i) {
        const std::string swing = std::to_string(0.01 * (i % 5));
        log += "aicStress : 100" + swing.substr(1) +
               " fps. cpuStress : " + std::to_string(cpu + 0.01 * (i % 7)) +
               " fps. imgpVencStress : 60.000000 fps. "
               "imgpVpcStress : 200" +
               swing.substr(1) + " fps. ispStress : 30.000000 fps.\n";
    }
    return log;
}

PsoState SearchState() {
    PsoState state;
    for (const auto& [group, mpamids] : stressGroups) {
        PsoBound& bound = state.psoSpaceBounds[group];
        bound = {0, 51, {}};
        for (std::uint16_t value = 0; value < 51; value += 2) {
            bound.values.push_back(value);
        }
        state.psoVelBounds[group] = {-20, 20, {}};
    }
    return state;
}

class NullBoard final : public StressBoard {
public:
    NullBoard(CommandRunner& runner, std::string logPath)
        : runner_(runner), logPath_(std::move(logPath)) {}
    bool Apply(const std::vector<QosConfig>& configs) override {
        return ApplyQosConfigs(configs, device_);
    }
    bool RunBenchmark(PerfMap& perf) override {
        return RunStressBenchmark(logPath_, perf, runner_, command_);
    }

private:
    CommandRunner& runner_;
    std::string logPath_;
    NullDevice device_;
    StressCommand command_;
};

void TTest(benchmark::State& state) {
    std::vector<double> base(kSamples);
    std::iota(base.begin(), base.end(), 30.0);
    std::vector<double> fresh = base;
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        fresh[i] += 0.1 * static_cast<double>(i % 4);
    }
    double t = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(PerfTTest(base, fresh, t));
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(TTest)->Name("t_test_26_samples/ours");

// One particle of one iteration, all but the benchmark itself: draw, apply, read the log, compare,
// log.
void Evaluation(benchmark::State& state) {
    const ScratchDir scratch;
    const std::string path = scratch.Path() + "stress.log";
    (void)!static_cast<int>(WriteFile(path, StressLog(40.0)));
    PerfMap base;
    NullRunner runner;
    NullBoard board(runner, path);
    const Silence silence;
    (void)!board.RunBenchmark(base);
    for (auto& rate : base["cpu"]) {
        rate -= 1.0;
    }
    const OptLog log(scratch.Path() + "opt.log");
    PsoState pso = SearchState();
    pso.globalBest = StartingBest();
    const std::vector<QosConfig> first = DrawCandidate(pso, DeviceRandomSource());
    pso.positions = {PositionOf(first, 0.0)};
    pso.personalBests = pso.positions;
    pso.velocities = {DrawVelocity(pso, first, DeviceRandomSource())};
    for (auto _ : state) {
        PerfMap perf;
        std::map<std::string, double> tValues;
        const bool measured =
            board.Apply(StepParticle(pso, 0, DeviceRandomSource())) && board.RunBenchmark(perf);
        if (!measured || !ComparePerf(pso, base, perf, tValues)) {
            state.SkipWithError("the candidate is not acceptable");
            break;
        }
        log.WriteOptLog("[DdrOptimizer] t-value  cpu : " + TValueText(tValues["cpu"]));
        log.WriteOptLog("[DdrOptimizer] ======= update pso num: 1 =======,cpu t-value: " +
                        TValueText(tValues["cpu"]));
    }
}
BENCHMARK(Evaluation)->Name("evaluation/ours")->Unit(benchmark::kMicrosecond);

// A directory with a `rungate` in PATH that only prints: a slow run first, then faster ones.
class NullBench {
public:
    NullBench() {
        const std::string gate = scratch_.Path() + "rungate";
        (void)!static_cast<int>(WriteFile(scratch_.Path() + "base", StressLog(40.0)));
        (void)!static_cast<int>(WriteFile(scratch_.Path() + "better", StressLog(50.0)));
        (void)!static_cast<int>(
            WriteFile(gate, "#!/bin/sh\nwhile read -r line; do echo \"$line\"; done < " +
                                scratch_.Path() + "now\n"));
        ::chmod(gate.c_str(), 0755);
        Use("base");
        (void)!::chdir(scratch_.Path().c_str());
        ::setenv("PATH", (scratch_.Path() + ":" + std::getenv("PATH")).c_str(), 1);
        ::mkdir("virtual_node", 0755);
        ::mkdir("virtual_node/bin", 0755);
        (void)!static_cast<int>(WriteFile("virtual_node/bin/stress_benchmark", ""));
    }

    void Use(const std::string& log) const {
        ::unlink((scratch_.Path() + "now").c_str());
        (void)!::symlink((scratch_.Path() + log).c_str(), (scratch_.Path() + "now").c_str());
    }

    [[nodiscard]] const std::string& Path() const { return scratch_.Path(); }

private:
    ScratchDir scratch_;
};

// The commands of a whole search, in their order.
std::vector<std::string> searchCommands;

// 20 particles x 20 iterations against a benchmark that does nothing.
void Search(benchmark::State& state) {
    const NullBench bench;
    const OptLog log(bench.Path() + "opt.log");
    const StopFlag stopFlag{0};
    BareRunner runner;
    class Board final : public StressBoard {
    public:
        Board(const NullBench& bench, CommandRunner& runner)
            : bench_(bench), inner_(runner, bench.Path() + "stress.log") {}
        bool Apply(const std::vector<QosConfig>& configs) override { return inner_.Apply(configs); }
        bool RunBenchmark(PerfMap& perf) override {
            const bool ran = inner_.RunBenchmark(perf);
            bench_.Use("better");
            return ran;
        }

    private:
        const NullBench& bench_;
        NullBoard inner_;
    };
    for (auto _ : state) {
        const Silence silence;
        runner.commands.clear();
        bench.Use("base");
        Board board(bench, runner);
        PsoState pso = SearchState();
        if (!PsoSearch(pso, {board, log, DeviceRandomSource(), &stopFlag}).RunPso()) {
            state.SkipWithError("the search failed");
        }
    }
    searchCommands = runner.commands;
    state.counters["commands"] = static_cast<double>(searchCommands.size());
}
BENCHMARK(Search)->Name("search/ours")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// The same commands in the same surroundings, started by the shell and nothing else.
void BareShells(benchmark::State& state) {
    const NullBench bench;
    for (auto _ : state) {
        const Silence silence;
        for (const std::string& command : searchCommands) {
            const std::size_t tee = command.find("| tee ");
            const std::string here = tee == std::string::npos
                                         ? command
                                         : command.substr(0, tee) + "| tee " + bench.Path() + "log";
            if (std::system(here.c_str()) != 0) {  // NOLINT: this is what is measured
                state.SkipWithError("a command failed");
                break;
            }
        }
    }
    state.counters["commands"] = static_cast<double>(searchCommands.size());
}
BENCHMARK(BareShells)
    ->Name("search/bound")
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
