#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/support/generator.h"
#include "benchmarks/support/peak_memory.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/profiling/sys_call/sys_call_collector.h"
#include "collectors/profiling/sys_call/sys_call_commands.h"
#include "formats/sys_call.h"
#include "foundation/commands.h"
#include "foundation/files.h"
#include "foundation/text.h"
#include "kit/event_writer.h"

// A trace of 1,000,000 calls of eight system calls, 64 MB, to its document with every call: the
// collector's own CPU time, that of the plain form, which keeps lines, pairs and JSON values, and,
// as the bound, what the shell's tools take that search the log.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kCalls = 1000000;
constexpr std::array<const char*, 8> kNames = {"read",  "write", "openat", "close",
                                               "futex", "ioctl", "mmap",   "recvmsg"};
constexpr const char* kTime = "20230101120000000";

std::string TwoDigits(int number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

std::string SixDigits(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return std::string(6 - digits.size(), '0') + digits;
}

std::string TraceText() {
    Generator generator(1);
    std::string text;
    for (int i = 0; i < kCalls; ++i) {
        const std::string name = kNames[generator.Below(kNames.size())];
        text += "12:" + TwoDigits(i / 60000) + ":" + TwoDigits(i / 1000 % 60) + "." +
                SixDigits(static_cast<std::uint64_t>(i % 1000) * 1000) + " " + name + "(7, \"" +
                generator.Text(9, "abcd0123") + "\", 4096) = 4096 <0." +
                SixDigits(generator.Below(1000)) + ">\n";
    }
    text += "syscall % time seconds\n------- ------ -------\n";
    for (const char* name : kNames) {
        text += std::string(name) + " 12.50 0.125 1 0.000000 0.001000 125000 \n";
    }
    return text + "------- ------ -------\ntotal 100.00 1.0\n";
}

// The log, and a runner that lets the tracer leave it.
class Trace final : public CommandRunner {
public:
    Trace() {
        const std::string text = TraceText();
        size_ = text.size();
        ready_ = WriteFile(Log(), text) == FileResult::Ok;
    }

    [[nodiscard]] bool Ready() const { return ready_; }
    [[nodiscard]] std::size_t Size() const { return size_; }
    [[nodiscard]] std::string Log() const { return directory_.Path() + "log"; }

    int Run(const std::string& command) override {
        const std::size_t begin = command.find(" -o ") + 4;
        std::error_code error;
        fs::create_hard_link(Log(), command.substr(begin, command.find(' ', begin) - begin), error);
        return error ? 1 : 0;
    }
    [[nodiscard]] bool Capture(const std::string& command, std::string& output) override {
        if (command.rfind("pidof", 0) == 0) {
            output += "417\n";
            return true;
        }
        return SystemCommandRunner().Capture(command, output);
    }
    [[nodiscard]] bool Stream(const std::string& command, const Sink& take) override {
        return command.rfind("pidof", 0) == 0 ? CommandRunner::Stream(command, take)
                                              : SystemCommandRunner().Stream(command, take);
    }

private:
    ScratchDir directory_;
    std::size_t size_ = 0;
    bool ready_ = false;
};

Trace& Made() {
    static Trace trace;
    return trace;
}

std::string Document(const ScratchDir& tree) {
    return sys_call_files::kDocument.Path(tree.Path(), kTime);
}

// Each call once, and some more for those whose line holds a name by chance.
bool IsWhole(const std::string& document) {
    std::error_code error;
    return fs::file_size(document, error) > std::size_t{kCalls} * 50 && !error;
}

bool Collect() {
    const ScratchDir tree;
    fs::create_directories(tree.Path() + "env_info");
    fs::create_directories(tree.Path() + "json");
    Host host{Made()};
    host.clock.currentTime = [](std::string& time) {
        time = kTime;
        return true;
    };
    const StopFlag stopFlag{0};
    JsonDocument config;
    SysCallCollector collector(SysCallCollector::kName, host);
    return ParseJson(R"({"SysCallCollector":{"process":["app"],"duration":1,)"
                     R"("saveDetailsToJson":true}})",
                     config) &&
           collector.CheckOptions(config, "collector") &&
           collector.Start(config, tree.Path(), &stopFlag) && IsWhole(Document(tree));
}

using Call = std::vector<std::string>;  // begin and cost

bool ReadPlainly(const std::string& name, std::vector<Call>& calls) {
    std::vector<std::string> lines;
    if (!ExecuteCommandLines(DetailsCommand(Made().Log(), name), lines)) {
        return false;
    }
    for (const std::string& line : lines) {
        Call call;
        SplitString(line, " ", call);
        const std::string cost = call.back().substr(1, call.back().size() - 2);
        if (IsDecimalString(cost)) {
            call.back() = cost;
            calls.push_back(call);
        }
    }
    return true;
}

JsonValue PlainRow(const std::vector<std::string>& row, const std::vector<Call>& calls,
                   JsonAllocator& allocator) {
    JsonValue object(rapidjson::kObjectType);
    for (std::size_t i = 0; i < sys_call_files::kColumnCount; ++i) {
        object.AddMember(JsonValue(sys_call_files::kColumns[i], allocator),
                         JsonValue(row[i], allocator), allocator);
    }
    JsonValue list(rapidjson::kArrayType);
    for (const Call& call : calls) {
        JsonValue one(rapidjson::kObjectType);
        one.AddMember(JsonValue("start_time", allocator), JsonValue(call[0], allocator), allocator);
        one.AddMember(JsonValue("time_cost", allocator), JsonValue(call[1], allocator), allocator);
        list.PushBack(one, allocator);
    }
    object.AddMember(JsonValue(sys_call_files::kCallsMember, allocator), list, allocator);
    return object;
}

bool CollectPlainly() {
    const ScratchDir tree;
    fs::create_directories(tree.Path() + "json");
    std::vector<std::string> lines;
    if (!ExecuteCommandLines(SummaryCommand(Made().Log()), lines)) {
        return false;
    }
    std::vector<std::pair<std::vector<std::string>, std::vector<Call>>> rows;
    for (std::string& line : lines) {
        rows.emplace_back();
        CollapseSpaces(line);
        SplitString(line, " ", rows.back().first);
        rows.back().first.emplace_back("0");
        if (!ReadPlainly(rows.back().first.front(), rows.back().second)) {
            return false;
        }
    }
    JsonDocument document;
    document.SetObject();
    JsonValue array(rapidjson::kArrayType);
    for (const auto& [row, calls] : rows) {
        array.PushBack(PlainRow(row, calls, document.GetAllocator()), document.GetAllocator());
    }
    document.AddMember("content", array, document.GetAllocator());
    SaveJsonToFile(Document(tree), document);
    return IsWhole(Document(tree));
}

// CPU time of this process, or of the children that ended.
double Seconds(decltype(RUSAGE_SELF) who) {
    rusage usage{};
    ::getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void Measure(benchmark::State& state, decltype(RUSAGE_SELF) who,
             const std::function<bool()>& work) {
    const QuietStreams quiet;
    bool good = Made().Ready();
    for (auto _ : state) {
        const double before = Seconds(who);
        good = good && work();
        state.SetIterationTime(Seconds(who) - before);
    }
    if (who == RUSAGE_SELF) {
        state.counters["memory_per_log"] = PeakMemoryOf(work) / static_cast<double>(Made().Size());
    }
    if (!good) {
        state.SkipWithError("a run failed");
    }
}

void Ours(benchmark::State& state) {
    Measure(state, RUSAGE_SELF, Collect);
}

void Naive(benchmark::State& state) {
    Measure(state, RUSAGE_SELF, CollectPlainly);
}

void Bound(benchmark::State& state) {
    Measure(state, RUSAGE_CHILDREN, Collect);
}

BENCHMARK(Ours)
    ->Name("SysCallCollector/details/ours")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Naive)
    ->Name("SysCallCollector/details/naive")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Bound)
    ->Name("SysCallCollector/details/bound")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
const Promise kHalfOfTheTools = AtMostTimesBound("SysCallCollector/details", 0.5);
const Promise kSmallBesideTheLog = AtMost("SysCallCollector/details/ours memory_per_log", 4);

}  // namespace
}  // namespace zarn::bench
