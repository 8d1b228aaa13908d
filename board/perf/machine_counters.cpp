#include "board/perf/machine_counters.h"

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr double kNsPerSecond = 1e9;

// The kernel's numbers of the events, in the order of SoftwareEvent.
constexpr std::array<std::uint64_t, 4> kKernelEvents{
    PERF_COUNT_SW_TASK_CLOCK, PERF_COUNT_SW_CONTEXT_SWITCHES, PERF_COUNT_SW_CPU_MIGRATIONS,
    PERF_COUNT_SW_PAGE_FAULTS};

// The cores that the call looks at, of those that the machine has.
std::vector<int> MachineCores(const PerfCall& call) {
    std::vector<int> cores;
    for (int core = 0; core < ::sysconf(_SC_NPROCESSORS_ONLN); ++core) {
        const bool isNamed = core < 32 && (call.cores.value_or(0) >> core & 1U) != 0;
        if (isNamed || !call.cores) {
            cores.push_back(core);
        }
    }
    return cores;
}

std::string ProcOf(std::uint32_t pid) {
    return "/proc/" + std::to_string(pid) + "/";
}

std::vector<std::string> ThreadsOf(std::uint32_t pid) {
    std::vector<std::string> threads;
    std::error_code error;
    for (fs::directory_iterator entry(ProcOf(pid) + "task", error), end; !error && entry != end;
         entry.increment(error)) {
        threads.push_back(entry->path().filename().string());
    }
    return threads;
}

// The number at the beginning of a text, 0 if there is none.
double NumberAt(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    std::uint64_t number = 0;
    std::from_chars(text.data() + begin, text.data() + text.size(), number);
    return static_cast<double>(number);
}

// ---- By the kernel's counters

// One that has been opened, or less than 0.
int OpenCounter(SoftwareEvent event, int thread, int core) {
    perf_event_attr attribute{};
    attribute.type = PERF_TYPE_SOFTWARE;
    attribute.config = kKernelEvents[static_cast<std::size_t>(event)];
    attribute.size = sizeof(attribute);
    attribute.inherit = 1;
    return static_cast<int>(
        ::syscall(SYS_perf_event_open, &attribute, thread, core, -1, PERF_FLAG_FD_CLOEXEC));
}

// Nothing if one cannot be had.
std::vector<int> OpenCounters(SoftwareEvent event, const PerfCall& call) {
    std::vector<int> files;
    for (const std::uint32_t pid : call.pids) {
        for (const std::string& thread : ThreadsOf(pid)) {
            files.push_back(OpenCounter(event, static_cast<int>(NumberAt(thread)), -1));
        }
    }
    for (const int core : call.pids.empty() ? MachineCores(call) : std::vector<int>{}) {
        files.push_back(OpenCounter(event, -1, core));
    }
    for (const int file : files) {
        if (file < 0) {
            for (const int opened : files) {
                ::close(opened);
            }
            return {};
        }
    }
    return files;
}

// ---- By /proc

// The number behind a word that begins a line.
double NumberBehind(std::string_view text, std::string_view word) {
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        if (StartsWith(line, word)) {
            return NumberAt(line.substr(word.size()));
        }
    }
    return 0.0;
}

double SwitchesOf(std::uint32_t pid) {
    double switches = 0.0;
    for (const std::string& thread : ThreadsOf(pid)) {
        std::string status;
        (void)ReadFile(ProcOf(pid) + "task/" + thread + "/status", status);
        switches += NumberBehind(status, "voluntary_ctxt_switches:") +
                    NumberBehind(status, "nonvoluntary_ctxt_switches:");
    }
    return switches;
}

// The sum of two fields of a process's `stat`, counted from 0 behind its name.
double StatFields(std::uint32_t pid, std::size_t first, std::size_t second) {
    std::string text;
    (void)ReadFile(ProcOf(pid) + "stat", text);
    std::vector<std::string> fields;
    SplitString(text.substr(text.rfind(')') + 1), " ", fields);
    return fields.size() <= second ? 0.0 : NumberAt(fields[first]) + NumberAt(fields[second]);
}

std::optional<double> TellsOfProcess(SoftwareEvent event, std::uint32_t pid) {
    switch (event) {
        case SoftwareEvent::TaskClock:
            return StatFields(pid, 11, 12) * kNsPerSecond /
                   static_cast<double>(::sysconf(_SC_CLK_TCK));
        case SoftwareEvent::ContextSwitches:
            return SwitchesOf(pid);
        case SoftwareEvent::PageFaults:
            return StatFields(pid, 7, 9);
        case SoftwareEvent::CpuMigrations:
            break;
    }
    return std::nullopt;
}

std::optional<double> TellsOfSystem(SoftwareEvent event, const PerfCall& call) {
    std::string text;
    switch (event) {
        case SoftwareEvent::TaskClock: {
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            return (static_cast<double>(now.tv_sec) * kNsPerSecond +
                    static_cast<double>(now.tv_nsec)) *
                   static_cast<double>(MachineCores(call).size());
        }
        case SoftwareEvent::ContextSwitches:
            (void)ReadFile("/proc/stat", text);
            break;
        case SoftwareEvent::PageFaults:
            (void)ReadFile("/proc/vmstat", text);
            break;
        case SoftwareEvent::CpuMigrations:
            return std::nullopt;
    }
    // These are not told of single cores.
    return call.cores ? std::nullopt
                      : std::optional(NumberBehind(
                            text, event == SoftwareEvent::PageFaults ? "pgfault " : "ctxt "));
}

std::optional<double> TellsProc(SoftwareEvent event, const PerfCall& call) {
    if (call.pids.empty()) {
        return TellsOfSystem(event, call);
    }
    double sum = 0.0;
    for (const std::uint32_t pid : call.pids) {
        const auto told = TellsOfProcess(event, pid);
        if (!told) {
            return std::nullopt;
        }
        sum += *told;
    }
    return sum;
}

}  // namespace

MachineCounters::MachineCounters(const PerfCall& call) : call_(call) {
    for (const AskedEvent& event : call.events) {
        if (event.software && counters_.count(*event.software) == 0) {
            counters_[*event.software] = {OpenCounters(*event.software, call),
                                          TellsProc(*event.software, call)};
        }
    }
}

MachineCounters::~MachineCounters() {
    for (const auto& [event, counter] : counters_) {
        for (const int file : counter.files) {
            ::close(file);
        }
    }
}

std::optional<double> MachineCounters::Count(SoftwareEvent event) const {
    const Counter& counter = counters_.at(event);
    if (!counter.files.empty()) {
        double sum = 0.0;
        for (const int file : counter.files) {
            std::uint64_t count = 0;
            sum += ::read(file, &count, sizeof(count)) == sizeof(count) ? static_cast<double>(count)
                                                                        : 0.0;
        }
        return sum;
    }
    const auto now = TellsProc(event, call_);
    if (!now || !counter.first) {
        return std::nullopt;
    }
    // What a process that has ended had counted is gone with it.
    return *now > *counter.first ? *now - *counter.first : 0.0;
}

}  // namespace zarn::board
