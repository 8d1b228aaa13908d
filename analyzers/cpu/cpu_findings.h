#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/cpu/cpu_log_parser.h"
#include "analyzers/cpu/cpu_settings.h"

// Records in, findings out. Texts are views into the log; loads are percent. Sums run in file
// order.
namespace zarn {

struct CpuExtreme {
    double value;
    std::string_view timeStamp;  // empty if the log has no time stamp at all
};

struct CpuStatistics {
    double mean = 0.0;  // all 0 for an empty series
    double maximum = 0.0;
    double minimum = 0.0;
    std::vector<CpuExtreme> peaks;  // above mean * peak ratio, in time order
    std::vector<CpuExtreme> troughs;
};

// A process over the samples it was seen in.
struct CpuProcessStatistics {
    std::string_view pid;
    std::string_view command;
    double mean = 0.0;
    double maximum = 0.0;
    double minimum = 0.0;
    std::uint32_t process = 0;  // its index in the log
};

// Means over the samples of what a log's head lines say.
struct CpuHeadMeans {
    double tasks = 0.0;
    std::map<std::string, double> loads;  // by name of the load
};

struct CpuGlobalFindings {
    CpuHeadMeans head;
    std::array<CpuStatistics, kCpuFieldCount> fields;
    CpuStatistics total;  // of the samples' sums over all processes
};

struct CpuSetFindings {
    std::string_view name;  // of the settings
    CpuSeries totals;       // of the samples in which a process of the set was seen
    CpuStatistics statistics;
    double usagePercent = 0.0;                    // the mean per processor
    std::vector<CpuProcessStatistics> processes;  // the members seen, busiest first
};

struct CpuCoreFindings {
    std::string_view name;
    std::array<CpuStatistics, kCpuFieldCount> fields;
};

struct CpuCoresFindings {
    CpuHeadMeans head;
    std::vector<CpuCoreFindings> cores;  // in the order of the log
    // 100 minus the mean of "id" by core, busiest first.
    std::vector<std::pair<std::string, double>> usageSorted;
};

[[nodiscard]] CpuStatistics Summarize(const CpuSeries& series,
                                      const std::vector<std::string_view>& timeStamps,
                                      const CpuAnalyzerSettings& settings);

// All processes, the greater mean first, equal means in the order of the pid texts.
[[nodiscard]] std::vector<CpuProcessStatistics> RankProcesses(const CpuUsageLog& log);

[[nodiscard]] CpuGlobalFindings FindGlobal(const CpuUsageLog& log,
                                           const CpuAnalyzerSettings& settings);

// One finding per configured set, in their order. `settings` must outlive the result.
[[nodiscard]] std::vector<CpuSetFindings> FindProcessSets(
    const CpuUsageLog& log, const std::vector<CpuProcessStatistics>& ranked,
    const CpuAnalyzerSettings& settings);

[[nodiscard]] CpuCoresFindings FindCores(const CpuCoresLog& log,
                                         const CpuAnalyzerSettings& settings);

}  // namespace zarn
