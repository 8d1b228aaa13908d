#include "collectors/profiling/bench/bench_commands.h"

namespace zarn {
namespace {

// The second blank before "-e cache-references" is part of what has always been run.
constexpr const char* kPerfStat =
    "perf stat -a -e task-clock,cycles,instructions,branches,branch-misses,context-switches,"
    "cpu-migrations,page-faults -e stalled-cycles-frontend,stalled-cycles-backend  -e "
    "cache-references,cache-misses -e LLC-loads,LLC-load-misses,LLC-stores,LLC-store-misses -e "
    "L1-dcache-loads,L1-dcache-load-misses,L1-dcache-stores,L1-dcache-store-misses -e "
    "dTLB-loads,dTLB-load-misses,iTLB-load-misses,iTLB-loads";

// perf prints its counters on the error stream.
std::string WhileSleeping(std::int32_t seconds, const std::string& log) {
    return " sleep " + std::to_string(seconds) + " >> " + log + " 2>&1";
}

}  // namespace

std::string PerfBenchCommand(const std::string& group, const std::string& job,
                             const std::string& log) {
    return "perf bench " + group + " " + job + ">> " + log;
}

std::string SystemStatCommand(std::int32_t seconds, const std::string& log) {
    return kPerfStat + WhileSleeping(seconds, log);
}

std::string ProcessStatCommand(const std::string& pids, std::int32_t seconds,
                               const std::string& log) {
    return std::string(kPerfStat) + " -p " + pids + " " + WhileSleeping(seconds, log);
}

std::string PidListCommand(const std::string& process) {
    return "pidof " + process + "| sed 's/[ ][ ]*/,/g'";
}

std::string StatisticsCommand(const std::string& job, const std::string& log) {
    return "cat /proc/umap/" + job + ">> " + log;
}

std::string ValueCommand(const std::string& log, const std::string& filter) {
    return "cat " + log + filter;
}

std::string CounterCommand(const std::string& log, const BenchCounter& counter) {
    return "cat " + log + " |grep " + counter.event + " |awk '{print$1}' | sed 's/,//g'";
}

}  // namespace zarn
