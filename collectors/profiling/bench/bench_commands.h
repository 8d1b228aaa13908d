#pragma once

#include <array>
#include <cstdint>
#include <string>

// The bench collector's command lines, as they are run. Names and paths stand in them as they are.
namespace zarn {

// Runs a benchmark and appends what it prints to the log.
[[nodiscard]] std::string PerfBenchCommand(const std::string& group, const std::string& job,
                                           const std::string& log);

// Counts for so many seconds what the system does, or what the processes of the list `pids` do.
[[nodiscard]] std::string SystemStatCommand(std::int32_t seconds, const std::string& log);
[[nodiscard]] std::string ProcessStatCommand(const std::string& pids, std::int32_t seconds,
                                             const std::string& log);

// Prints the list of a process's pids, with commas between them.
[[nodiscard]] std::string PidListCommand(const std::string& process);

// Appends the kernel's statistics of an engine to the log.
[[nodiscard]] std::string StatisticsCommand(const std::string& job, const std::string& log);

// A value of a result: its name there, and what behind "cat <log>" finds it.
struct BenchValue {
    const char* name;
    const char* filter;
};

inline constexpr BenchValue kTotalTime = {"Total time", " | grep time |awk '{print $3}'"};
inline constexpr BenchValue kPipeOperations = {"operations per second",
                                               "  | grep ops |awk '{print $1}'"};
inline constexpr BenchValue kPipeCost = {"time cost per operation",
                                         "  | grep usecs |awk '{print $1}'"};
inline constexpr const char* kSpeedFilter = " | grep GB| awk '{print $1}'";

// Prints the value that the filter finds in a log, a line for each that there is.
[[nodiscard]] std::string ValueCommand(const std::string& log, const std::string& filter);

// A counter of a node's statistics: its name in the result, and the text by which grep knows its
// line in the log.
struct BenchCounter {
    const char* name;
    const char* event;
};

inline constexpr std::array<BenchCounter, 22> kBenchCounters{{
    {"contextSwitches", "context-switches"},
    {"cpuMigrations", "cpu-migrations"},
    {"pageFaults", "page-faults"},
    {"branchMisses", "branch-misses"},
    // Other lines have the word too, but not with two blanks behind it.
    {"cycles", "cycles\\ \\ "},
    {"instructions", "instructions"},
    {"stalledCyclesFrontend", "stalled-cycles-frontend"},
    {"stalledCyclesBackend", "stalled-cycles-backend"},
    {"cacheReferences", "cache-references"},
    {"cacheMisses", "cache-misses"},
    {"LLCLoads", "LLC-loads"},
    {"LLCLoadMisses", "LLC-load-misses"},
    {"LLCStores", "LLC-stores"},
    {"LLCStoreMisses", "LLC-store-misses"},
    {"L1DcacheLoads", "L1-dcache-loads"},
    {"L1DcacheLoadMisses", "L1-dcache-load-misses"},
    {"L1DcacheStores", "L1-dcache-stores"},
    {"L1DcacheStoreMisses", "L1-dcache-store-misses"},
    {"dTLBLoads", "dTLB-loads"},
    {"dTLBLoadMisses", "dTLB-load-misses"},
    {"iTLBLoadMisses", "iTLB-load-misses"},
    {"iTLBLoads", "iTLB-loads"},
}};

// Prints the first word of the counter's line in a log, without its commas.
[[nodiscard]] std::string CounterCommand(const std::string& log, const BenchCounter& counter);

}  // namespace zarn
