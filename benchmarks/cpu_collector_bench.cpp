#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "benchmarks/support/cpu_log_generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/system/cpu/cpu_collector.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"
#include "kit/event_writer.h"

// What CpuCollector itself costs beside its tools: 600 samples of 400 processes, printed by tools
// that do nothing but copy a recorded text. Times are CPU time of this process, its children's left
// out.
namespace zarn::bench {
namespace {

constexpr std::size_t kSamples = 600;
constexpr const char* kTime = "20240101120000000";
const std::vector<std::string> kSelected = {"node_1", "planner.2", "(fusion)3", "absent"};

void WriteOrExit(const std::string& path, const std::string& text) {
    if (WriteFile(path, text) != FileResult::Ok) {
        std::perror(path.c_str());
        std::exit(1);
    }
}

// Tools of the right names in a folder that comes first in PATH. `ps` prints the rows of as many
// passes as `psPasses` says.
class RecordedTools {
public:
    RecordedTools(const CpuLogGenerator& generator, std::size_t psPasses) {
        std::string ps;
        for (std::size_t sample = 0; sample < psPasses; ++sample) {
            ps += generator.PsPass(sample);
        }
        const std::string top = generator.TopOutput();
        const std::string cores = generator.CoresOutput();
        const std::string threads = generator.ThreadTopOutput();
        size_ = top.size() + cores.size() + threads.size() + ps.size();
        const std::string& root = directory_.Path();
        WriteOrExit(root + "top.txt", top);
        WriteOrExit(root + "cores.txt", cores);
        WriteOrExit(root + "threads.txt", threads);
        WriteOrExit(root + "ps.txt", ps);
        WriteTool("ps", "exec /bin/cat " + root + "ps.txt\n");
        WriteTool("top",
                  "case \"$*\" in -1*) t=cores ;; *-H*) t=threads ;; *) t=top ;; esac\n"
                  "exec /bin/cat " +
                      root + "$t.txt\n");
        path_ = std::getenv("PATH");
        ::setenv("PATH", (root + "bin:" + path_).c_str(), 1);
    }
    RecordedTools(const RecordedTools&) = delete;
    RecordedTools& operator=(const RecordedTools&) = delete;
    ~RecordedTools() { ::setenv("PATH", path_.c_str(), 1); }

    // Bytes that one run of all four programs prints.
    [[nodiscard]] std::size_t Size() const { return size_; }

private:
    void WriteTool(const std::string& name, const std::string& text) const {
        const std::string path = directory_.Path() + "bin/" + name;
        std::filesystem::create_directories(directory_.Path() + "bin");
        WriteOrExit(path, "#!/bin/sh\n" + text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    ScratchDir directory_;
    std::string path_;
    std::size_t size_ = 0;
};

// What a whole run's documents are made of.
class WholeRun {
public:
    explicit WholeRun(const CpuLogGenerator& generator) {
        CpuUsageCutter usage(times_, true, true, kSelected);
        usage.Feed(generator.TopOutput());
        usage.Finish();
        global_ = std::move(usage.global);
        CpuCoreCutter cores(times_);
        cores.Feed(generator.CoresOutput());
        cores.Finish();
        cores_ = std::move(cores.cores);
        CpuPsCutter ps(kSelected);
        for (std::size_t sample = 0; sample < kSamples; ++sample) {
            ps.TakePass(generator.PsPass(sample));
        }
        top10_ = std::move(ps.top10);
        selected_ = std::move(ps.selected);
        for (std::size_t process = 0; process < CpuLoad().processes; ++process) {
            SplitString(generator.PsThreads(process), "\n", threads_[generator.Pid(process)]);
        }
    }

    void SaveDocuments(const std::string& path) const {
        const CpuDocumentSources sources{global_, cores_, top10_, selected_, threads_};
        EventWriter events;
        for (std::size_t sample = 0; sample < kSamples; ++sample) {
            if (BuildCpuJson(sources, times_, sample, events)) {
                events.Save(path);
            }
        }
    }

private:
    CpuSampleTimes times_{kTime, 1.0};
    CpuLog global_;
    CpuLog cores_;
    std::vector<CpuRows> top10_;
    std::vector<CpuRows> selected_;
    CpuThreadRows threads_;
};

JsonDocument Config(std::size_t count, bool documents) {
    JsonDocument config;
    const std::string text =
        R"({"CpuCollector":{"job":["global","core","selected_process"],"interval":1.0,)"
        R"("process":["node_1","planner.2","(fusion)3","absent"],"thread_collector":false,"count":)" +
        std::to_string(count) + R"(,"json_output":)" + (documents ? "true" : "false") + "}}";
    if (!ParseJson(text, config)) {
        std::exit(1);
    }
    return config;
}

// A whole mission in a fresh run tree.
void RunMission(std::size_t count, bool documents) {
    const ScratchDir tree;
    std::filesystem::create_directories(tree.Path() + "json");
    const JsonDocument config = Config(count, documents);
    const StopFlag stopFlag{0};
    CpuCollector collector(CpuCollector::kName);
    if (!collector.CheckOptions(config, "collector") ||
        !collector.Start(config, tree.Path(), &stopFlag)) {
        std::exit(1);
    }
}

// Copies what `command` prints into `file` as it comes.
void CopyOutput(const char* command, std::FILE* file) {
    std::array<char, 65536> buffer{};
    std::FILE* pipe = ::popen(command, "r");
    for (std::size_t got = 1; got > 0;) {
        got = std::fread(buffer.data(), 1, buffer.size(), pipe);
        std::fwrite(buffer.data(), 1, got, file);
    }
    ::pclose(pipe);
}

// One sample asked for, so that the files are written once; the tools print all of them. Then the
// documents of all samples.
void CollectOurs(benchmark::State& state) {
    const CpuLogGenerator generator{CpuLoad()};
    const RecordedTools tools(generator, kSamples);
    const WholeRun run(generator);
    const ScratchDir directory;
    const std::string documents = directory.Path() + "documents.data";
    for (auto _ : state) {
        RunMission(1, false);
        run.SaveDocuments(documents);
        std::filesystem::remove(documents);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(tools.Size()) * state.iterations());
}

void CollectBound(benchmark::State& state) {
    const RecordedTools tools(CpuLogGenerator{CpuLoad()}, kSamples);
    const ScratchDir directory;
    const std::string path = directory.Path() + "output.txt";
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "w");
        for (const char* command : {"top -b", "top -1 -b", "ps", "top -b -H"}) {
            CopyOutput(command, file);
        }
        std::fclose(file);
        std::filesystem::remove(path);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(tools.Size()) * state.iterations());
}

void DocumentsOurs(benchmark::State& state) {
    const WholeRun run{CpuLogGenerator{CpuLoad()}};
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    for (auto _ : state) {
        run.SaveDocuments(path);
        std::filesystem::remove(path);
    }
}

// The documents as they are written, a line each.
std::vector<std::string> DocumentTexts() {
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    WholeRun(CpuLogGenerator{CpuLoad()}).SaveDocuments(path);
    std::string text;
    if (ReadFile(path, text) != FileResult::Ok) {
        std::exit(1);
    }
    std::vector<std::string> documents;
    SplitString(text, "\n", documents);
    for (std::string& document : documents) {
        document += '\n';
    }
    return documents;
}

// The same bytes from memory, plainly written: the file is opened and closed for each document, so
// that it holds whole documents whenever the run ends.
void DocumentsBound(benchmark::State& state) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    const std::vector<std::string> documents = DocumentTexts();
    for (auto _ : state) {
        for (const std::string& document : documents) {
            const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
            benchmark::DoNotOptimize(::write(file, document.data(), document.size()));
            ::close(file);
        }
        std::filesystem::remove(path);
    }
}

// The same bytes in a single write, which no writer of one document at a time can reach.
void DocumentsOneWrite(benchmark::State& state) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    std::string text;
    for (const std::string& document : DocumentTexts()) {
        text += document;
    }
    for (auto _ : state) {
        WriteOrExit(path, text);
        std::filesystem::remove(path);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

// All 600 samples by the mission itself: 600 passes of ps and the files written 600 times over.
void MissionWhole(benchmark::State& state) {
    const CpuLogGenerator generator{CpuLoad()};
    const RecordedTools tools(generator, 1);
    for (auto _ : state) {
        RunMission(kSamples, true);
    }
}

BENCHMARK(CollectOurs)
    ->Name("CpuCollector/collect/ours")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(CollectBound)
    ->Name("CpuCollector/collect/bound")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
const Promise kCollectsNearTheBound = AtMostTimesBound("CpuCollector/collect", 3);
BENCHMARK(DocumentsOurs)
    ->Name("CpuCollector/documents/ours")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(DocumentsOneWrite)
    ->Name("CpuCollector/documents/one_write")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(DocumentsBound)
    ->Name("CpuCollector/documents/bound")
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
const Promise kWritesNearTheBound = AtMostTimesBound("CpuCollector/documents", 6);
BENCHMARK(MissionWhole)
    ->Name("CpuCollector/whole")
    ->MeasureProcessCPUTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
