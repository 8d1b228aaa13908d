#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/support/cpu_time.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/system/mem/mem_collector.h"
#include "collectors/system/mem/mem_commands.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

// What MemCollector itself costs beside its tools: the log of a process of 100,000 mappings (75
// MB), own CPU time and memory; and a whole pass over 100 processes, children included.
namespace zarn::bench {
namespace {

constexpr int kMappings = 100000;
constexpr int kProcesses = 100;

void WriteOrExit(const std::string& path, const std::string& text) {
    if (WriteFile(path, text) != FileResult::Ok) {
        std::perror(path.c_str());
        std::exit(1);
    }
}

// Tools that come first in PATH: a `pidof` that prints `pids`, and, if there is a file, a `cat`
// that prints it instead of what it is asked for.
class FakeTools {
public:
    FakeTools(const std::string& pids, const std::string& printed) {
        WriteTool("pidof", "echo " + pids);
        if (!printed.empty()) {
            WriteTool("cat", "exec /bin/cat " + printed);
        }
        path_ = std::getenv("PATH");
        ::setenv("PATH", (directory_.Path() + ":" + path_).c_str(), 1);
    }
    FakeTools(const FakeTools&) = delete;
    FakeTools& operator=(const FakeTools&) = delete;
    ~FakeTools() { ::setenv("PATH", path_.c_str(), 1); }

private:
    void WriteTool(const std::string& name, const std::string& text) const {
        const std::string path = directory_.Path() + name;
        WriteOrExit(path, "#!/bin/sh\n" + text + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    ScratchDir directory_;
    std::string path_;
};

// A pass over the processes that `pidof` prints, in a fresh run tree, without a pause behind it.
void RunPass() {
    const ScratchDir tree;
    std::filesystem::create_directories(tree.Path() + "json");
    JsonDocument config;
    (void)ParseJson(R"({"MemCollector":{"job":["process_mem"],"count":1,"interval":1,)"
                    R"("process":["watched"]}})",
                    config);
    Host host;
    host.clock.sleepSeconds = [](std::uint32_t, const StopFlag*) {};
    MemCollector collector(MemCollector::kName, host);
    const StopFlag stopFlag{0};
    if (!collector.CheckOptions(config, "collector") ||
        !collector.Start(config, tree.Path(), &stopFlag)) {
        std::exit(1);
    }
}

// Copies what `command` prints into `file` as it comes.
void CopyOutput(const std::string& command, std::FILE* file) {
    std::array<char, 65536> buffer{};
    std::FILE* pipe = ::popen(command.c_str(), "r");
    for (std::size_t got = 1; got > 0;) {
        got = std::fread(buffer.data(), 1, buffer.size(), pipe);
        std::fwrite(buffer.data(), 1, got, file);
    }
    ::pclose(pipe);
}

std::string SmapsText() {
    std::string text;
    for (int i = 0; i < kMappings; ++i) {
        text += "7f" + std::to_string(1000000000 + i) + "-7f" + std::to_string(1000000001 + i) +
                " rw-p 00000000 00:00 0    /usr/lib/libmapped.so\n";
        for (const char* name :
             {"Size",          "KernelPageSize", "MMUPageSize",     "Rss",
              "Pss",           "Pss_Dirty",      "Shared_Clean",    "Shared_Dirty",
              "Private_Clean", "Private_Dirty",  "Referenced",      "Anonymous",
              "KSM",           "LazyFree",       "AnonHugePages",   "ShmemPmdMapped",
              "FilePmdMapped", "Shared_Hugetlb", "Private_Hugetlb", "Swap",
              "SwapPss",       "Locked"}) {
            std::string line = std::string(name) + ":";
            line.resize(25, ' ');
            text += line + "4 kB\n";
        }
        text += "THPeligible:           0\nVmFlags: rd wr mr mw me ac sd\n";
    }
    return text;
}

// The most memory that this process had since the last call, in KiB.
double PeakSinceLastCall() {
    std::ifstream status("/proc/self/status");
    std::string word;
    double peak = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> peak;
    std::ofstream("/proc/self/clear_refs") << "5";
    return peak;
}

template <typename Work>
void CopySmaps(benchmark::State& state, Work work) {
    const ScratchDir directory;
    std::size_t size = 0;
    {
        const std::string text = SmapsText();
        size = text.size();
        WriteOrExit(directory.Path() + "smaps", text);
    }
    const FakeTools tools("1", directory.Path() + "smaps");
    (void)PeakSinceLastCall();
    const double before = PeakSinceLastCall();
    for (auto _ : state) {
        work(directory.Path() + "log");
    }
    state.counters["grown_KiB"] = PeakSinceLastCall() - before;
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void SmapsOurs(benchmark::State& state) {
    CopySmaps(state, [](const std::string& /*path*/) { RunPass(); });
}

void SmapsBound(benchmark::State& state) {
    CopySmaps(state, [](const std::string& path) {
        std::FILE* file = std::fopen(path.c_str(), "w");
        CopyOutput(SmapsCommand("1"), file);
        std::fclose(file);
        std::filesystem::remove(path);
    });
}

// The output first taken whole, then written.
void SmapsNaive(benchmark::State& state) {
    CopySmaps(state, [](const std::string& path) {
        std::string text;
        (void)SystemCommandRunner().Capture(SmapsCommand("1"), text);
        text.pop_back();
        std::ofstream(path, std::ios::app) << text << "\n----\n";
        std::filesystem::remove(path);
    });
}

// Processes that do nothing until they are no longer needed.
class Watched {
public:
    Watched() {
        for (int i = 0; i < kProcesses; ++i) {
            const pid_t pid = ::fork();
            if (pid == 0) {
                ::pause();
                ::_exit(0);
            }
            pids_.push_back(pid);
        }
    }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched() {
        for (const pid_t pid : pids_) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }

    [[nodiscard]] std::vector<std::string> Pids() const {
        std::vector<std::string> texts;
        for (const pid_t pid : pids_) {
            texts.push_back(std::to_string(pid));
        }
        return texts;
    }

private:
    std::vector<pid_t> pids_;
};

template <typename Work>
void PassOver(benchmark::State& state, Work work) {
    const Watched watched;
    std::string line;
    for (const std::string& pid : watched.Pids()) {
        line += pid + " ";
    }
    const FakeTools tools(line, "");
    for (auto _ : state) {
        const double before = SecondsWithChildren();
        work(watched.Pids());
        state.SetIterationTime(SecondsWithChildren() - before);
    }
}

void PassOurs(benchmark::State& state) {
    PassOver(state, [](const std::vector<std::string>& /*pids*/) { RunPass(); });
}

// The same command lines, their output thrown away but for the smaps.
void PassBound(benchmark::State& state) {
    PassOver(state, [](const std::vector<std::string>& pids) {
        std::FILE* nowhere = std::fopen("/dev/null", "w");
        for (const char* command :
             {"pidof watched", kSharePoolTotalCommand, kSharePoolTableCommand}) {
            CopyOutput(command, nowhere);
        }
        for (const std::string& pid : pids) {
            for (const std::string& command : SmapsSumCommands(pid)) {
                CopyOutput(command, nowhere);
            }
            CopyOutput(SharePoolAllocCommand(pid), nowhere);
            CopyOutput(StatusWordsCommand(pid), nowhere);
        }
        const ScratchDir directory;
        for (const std::string& pid : pids) {
            std::FILE* file = std::fopen((directory.Path() + pid).c_str(), "w");
            CopyOutput(SmapsCommand(pid), file);
            std::fclose(file);
        }
        std::fclose(nowhere);
    });
}

BENCHMARK(SmapsOurs)
    ->Name("MemCollector/smaps/ours")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
const Promise kLogsNearTheBound = AtMostTimesBound("MemCollector/smaps", 2);
const Promise kKeepsNoLog = AtMost("MemCollector/smaps/ours grown_KiB", 4096);
BENCHMARK(SmapsNaive)
    ->Name("MemCollector/smaps/naive")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(SmapsBound)
    ->Name("MemCollector/smaps/bound")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(PassOurs)
    ->Name("MemCollector/pass/ours")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
const Promise kPassesNearTheBound = AtMostTimesBound("MemCollector/pass", 1.15);
BENCHMARK(PassBound)
    ->Name("MemCollector/pass/bound")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
