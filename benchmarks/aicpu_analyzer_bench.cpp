#include <benchmark/benchmark.h>

#include <array>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analyzers/aicpu/abnormal_events.h"
#include "analyzers/aicpu/aicpu_analyzer.h"
#include "benchmarks/support/generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/device/aicpu/aicpu_document.h"
#include "formats/aicpu.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"
#include "kit/event_writer.h"

// The analysis of lists of late events from 2000 passes (14 MB): beside cutting the same lines, and
// beside the plain form, which keeps the lines of all passes and cuts each into texts.
namespace zarn::bench {
namespace {

constexpr std::size_t kPasses = 2000;
constexpr const char* kTime = "20240101120000000";
constexpr const char* kProcess = "perception";
constexpr std::uint32_t kPid = 1201;

// The last events of a list, some of which are new in each pass.
class EventList {
public:
    EventList(std::size_t pidField, std::size_t size) : pidField_(pidField), size_(size) {}

    [[nodiscard]] std::string NextPass(Generator& random) {
        const std::size_t added = last_.empty() ? size_ : random.Below(4);
        for (std::size_t i = 0; i < added; ++i) {
            last_.push_back(NextEvent(random));
        }
        while (last_.size() > size_) {
            last_.pop_front();
        }
        std::string text = "event,start_us,pid,tid,gid,cpu,us,thread\n";
        for (const std::string& line : last_) {
            text += line;
        }
        return text;
    }

private:
    std::string NextEvent(Generator& random) {
        start_ += 1 + random.Below(5000);
        const std::uint64_t thread = random.Below(12);
        std::string line = std::to_string(4 + random.Below(15)) + "," + std::to_string(start_);
        for (std::size_t field = 2; field < 6; ++field) {
            line += "," + std::to_string(field == pidField_ ? kPid + thread / 4 : random.Below(64));
        }
        return line + "," + std::to_string(2400 + random.Below(9000)) + ",perception_" +
               std::to_string(thread) + "\n";
    }

    std::size_t pidField_;
    std::size_t size_;
    std::uint64_t start_ = 1000000;
    std::deque<std::string> last_;
};

std::string Section(const std::string& attribute, const std::string& passes) {
    return "\n" + attribute + std::string(kAicpuStart) + "\n" + passes + attribute +
           std::string(kAicpuEnd) + "\n\n";
}

std::string Pass(const std::string& text) {
    return "\n" + std::string(kAicpuPass) + "\n" + text;
}

std::string AbnormalText() {
    Generator random(13);
    const std::array<std::size_t, kAbnormalLists.size()> sizes = {64, 8, 64, 8, 24};
    std::string text;
    for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
        EventList list(kAbnormalLists[i].pidField, sizes[i]);
        std::string events;
        std::string thresholds;
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            events += Pass(list.NextPass(random));
            thresholds += Pass("2400\n");
        }
        text += Section(kAbnormalLists[i].events, events) +
                Section(kAbnormalLists[i].threshold, thresholds);
    }
    return text;
}

// A run tree of one process, made once for all rows.
class Tree {
public:
    Tree() {
        for (const char* folder : {"json", "env_info", aicpu_files::kRawDir}) {
            std::filesystem::create_directories(directory_.Path() + folder);
        }
        AicpuRecord record;
        record.deMin = 1;
        record.deMax = 3;
        record.jobs.abnormal = true;
        record.processes.push_back({true, kProcess, 1, kPid, 31, {kTime}});
        SaveJsonToFile(aicpu_files::kRecord.Path(Path(), kTime),
                       MakeAicpuRecordDocument(record, kTime));
        Write(aicpuProcessList.name,
              Section("proc_pri", Pass("1201,perception,5\n")) +
                  Section("proc_status", Pass("status running\n")) +
                  Section("proc_event_num", Pass("publish_event_num 9\nsched_event_num 8\n")) +
                  Section("proc_group_list", Pass("gid,sched_type,thread_num\n31,1,3\n")));
        bytes_ = Write(aicpuAbnormalList.name, AbnormalText());
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }
    [[nodiscard]] std::string Abnormal() const {
        return aicpu_files::SectionsPath(Path(), aicpuAbnormalList.name, kProcess, kTime);
    }
    [[nodiscard]] std::size_t Bytes() const { return bytes_; }

private:
    std::size_t Write(const std::string& list, const std::string& text) {
        const std::string path = aicpu_files::SectionsPath(Path(), list, kProcess, kTime);
        ready_ = WriteFile(path, text) == FileResult::Ok && ready_;
        return text.size();
    }

    ScratchDir directory_;
    bool ready_ = true;
    std::size_t bytes_ = 0;
};

const Tree& TheTree() {
    static const Tree tree;
    return tree;
}

bool Analyze(const Tree& tree) {
    JsonDocument config;
    (void)ParseJson(R"({"AicpuAnalyzer":{"aicpu_job":["abnormal"]}})", config);
    std::filesystem::remove(aicpu_files::ProcessAnalysisPath(tree.Path(), kProcess, kTime));
    const StopFlag stopFlag{0};
    AicpuAnalyzer analyzer(AicpuAnalyzer::kName);
    return analyzer.Start(config, tree.Path(), &stopFlag) &&
           std::filesystem::exists(aicpu_files::ProcessAnalysisPath(tree.Path(), kProcess, kTime));
}

// The lines as they are read, and nothing more.
bool CutLines(const Tree& tree) {
    LineFile file(tree.Abnormal());
    std::size_t lines = 0;
    for (std::string_view line; file.Next(line);) {
        benchmark::DoNotOptimize(line);
        ++lines;
    }
    return lines > kPasses;
}

using PlainPasses = std::vector<std::vector<std::string>>;

PlainPasses PlainSection(const std::string& path, const std::string& attribute) {
    std::ifstream file(path);
    PlainPasses passes;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        if (line == attribute + " START") {
            isInside = true;
        } else if (line == attribute + " END") {
            isInside = false;
        } else if (isInside && line == "@zarn-new:") {
            passes.emplace_back();
        } else if (isInside && !passes.empty()) {
            passes.back().push_back(line);
        }
    }
    return passes;
}

std::size_t CountPlainly(const PlainPasses& passes, std::size_t pidField, std::size_t& own) {
    std::map<std::string, int> counts;
    std::set<std::string> starts;
    for (const std::vector<std::string>& pass : passes) {
        for (const std::string& line : pass) {
            std::vector<std::string> fields;
            SplitString(line, ",", fields);
            if (fields.size() < 8 || !IsDigitString(fields[1]) ||
                !IsDigitString(fields[pidField]) || !starts.insert(fields[1]).second) {
                continue;
            }
            ++counts[fields[pidField] + ":" + fields.back()];
            own += fields[pidField] == std::to_string(kPid) ? 1U : 0U;
        }
    }
    return counts.size();
}

bool AnalyzePlainly(const Tree& tree) {
    std::size_t threads = 0;
    std::size_t own = 0;
    for (const AbnormalList& list : kAbnormalLists) {
        const PlainPasses passes = PlainSection(tree.Abnormal(), list.events);
        threads += CountPlainly(passes, list.pidField, own);
    }
    return threads > 0 && own > 0;
}

template <bool (*work)(const Tree&)>
void Row(benchmark::State& state) {
    const Tree& tree = TheTree();
    bool good = tree.Ready();
    {
        const QuietStreams quiet;
        for (auto _ : state) {
            good = good && work(tree);
        }
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(tree.Bytes()) * state.iterations());
}

BENCHMARK(Row<Analyze>)->Name("AicpuAnalyzer/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<CutLines>)->Name("AicpuAnalyzer/bound")->Unit(benchmark::kMillisecond);
BENCHMARK(Row<AnalyzePlainly>)->Name("AicpuAnalyzer/naive")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("AicpuAnalyzer", 5);
const Promise kQuickerThanThePlainForm = AtLeastTimesNaive("AicpuAnalyzer", 6);

// What one run adds to the process's memory at its peak.
void Memory(benchmark::State& state) {
    double added = 0;
    for (auto _ : state) {
        const QuietStreams quiet;
        const Tree& tree = TheTree();  // made before it counts
        added = PeakMemoryOf([&tree] { return Analyze(tree); });
    }
    if (added < 0) {
        state.SkipWithError("a run failed");
    }
    state.counters["peak_MB"] = added / 1e6;
}
BENCHMARK(Memory)->Name("AicpuAnalyzer/memory")->Unit(benchmark::kMillisecond)->Iterations(1);
const Promise kMemory = AtMost("AicpuAnalyzer/memory peak_MB", 8);

}  // namespace
}  // namespace zarn::bench
