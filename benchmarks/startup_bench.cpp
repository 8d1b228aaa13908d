#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "foundation/files.h"
#include "tests/system/support/private_usr.h"

// What it costs to start zarn on a configuration without missions: processor time of the program
// itself, loading and the making of the run directory included, beside that of a program that does
// nothing. The children's time (one shell that finds no launcher) is a row of its own.
namespace zarn::bench {
namespace {

constexpr const char* kConfig =
    R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [], "analyzeMode": [],
        "optimizeMode": [], "compareMode": {"comparatorName": [], "versionMap": {}}}})";

struct Cost {
    double own = 0.0;           // seconds
    double withChildren = 0.0;  // seconds
};

// Nanoseconds on a processor, from the kernel's scheduler: the process's main and only thread.
double OwnSeconds(pid_t pid) {
    double nanoseconds = 0.0;
    std::ifstream("/proc/" + std::to_string(pid) + "/schedstat") >> nanoseconds;
    return nanoseconds / 1e9;
}

// Runs a program to its end, its streams thrown away.
Cost Measure(const std::string& program, std::string argument) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string name = program;
    std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
    pid_t pid = -1;
    if (::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments.data(), environ) != 0) {
        std::perror(program.c_str());
        std::exit(1);
    }
    ::posix_spawn_file_actions_destroy(&actions);
    siginfo_t ended{};
    ::waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOWAIT);
    Cost cost;
    cost.own = OwnSeconds(pid);
    rusage usage{};
    int status = 0;
    ::wait4(pid, &status, 0, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    cost.withChildren = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return cost;
}

// A private /opt/usr for this process and the programs it starts, with the configuration in it.
// Ends the process where that is impossible.
class PrivateView {
public:
    PrivateView() {
        std::filesystem::create_directories(usr_);
        std::filesystem::create_directories(staging_);
        if (!test::EnterPrivateView({{"/opt", {{"usr", usr_}}}}, staging_) ||
            WriteFile("/opt/usr/config.json", kConfig) != FileResult::Ok) {
            std::perror("no private /opt/usr (needs root or a user namespace)");
            std::exit(1);
        }
        ::setenv("PATH", "/nowhere", 1);
    }
    PrivateView(const PrivateView&) = delete;
    PrivateView& operator=(const PrivateView&) = delete;
    // The folder cannot be removed while something is mounted in it.
    ~PrivateView() {
        test::Unmount("/opt");
        test::Unmount(staging_ + "/opt");
    }

private:
    ScratchDir scratch_;
    std::string usr_ = scratch_.Path() + "usr";
    std::string staging_ = scratch_.Path() + "staging";
};

void Startup(benchmark::State& state, const std::string& program, double Cost::*part) {
    static const PrivateView view;
    for (auto _ : state) {
        state.SetIterationTime(Measure(program, "/opt/usr/config.json").*part);
    }
}

BENCHMARK_CAPTURE(Startup, ours, ZARN_PROGRAM, &Cost::own)
    ->Name("startup/ours")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(100);
const Promise kStartsSoon = AtMost("startup", 15);
BENCHMARK_CAPTURE(Startup, oursWithChildren, ZARN_PROGRAM, &Cost::withChildren)
    ->Name("startup/ours_with_children")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(100);
BENCHMARK_CAPTURE(Startup, bound, "/bin/true", &Cost::own)
    ->Name("startup/bound")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(100);

}  // namespace
}  // namespace zarn::bench
