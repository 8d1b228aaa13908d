#pragma once

#include <string>

#include "formats/run_tree.h"

// Files of the bench family in a run tree: what the benchmarks, the counters and the kernel print,
// each in a log of its own, and the documents made of them.
namespace zarn::bench_files {

inline constexpr const char* kRawDir = "raw_data/bench/";

// The log's name in kRawDir. `what`: a job; for a benchmark its group, "_" and the job; for the
// counters of a node "stat_" and the node.
[[nodiscard]] inline std::string RawName(const std::string& what, const std::string& time) {
    return "bench_" + what + "_" + time + "." + kLogSuffix;
}

// A kind of document: its file and what it bears.
struct Kind {
    const char* objectId;
    const char* eventId;

    [[nodiscard]] std::string Path(const std::string& dataPath, const std::string& time) const {
        return dataPath + run_tree::kJsonDir + objectId + "_" + time + "." + kDataSuffix;
    }
};

inline constexpr Kind kScheduler = {"soc_cpu_bench_info", "222210140"};
inline constexpr Kind kMemory = {"soc_mem_throughput_info", "222210150"};
inline constexpr Kind kStatistics = {"soc_cpu_stat_info", "222210160"};

}  // namespace zarn::bench_files
