#pragma once

#include <string>
#include <vector>

#include "analyzers/cpu/cpu_findings.h"
#include "kit/event_writer.h"

// The event documents of the CPU analysis: findings in, document out. Percentages are texts with
// six decimals unless said otherwise. `happenTime` is the time stamp of the log that was analysed.
namespace zarn {

// The shares of CPU time of the whole system.
void WriteGlobalDocument(const CpuGlobalFindings& findings, const std::string& happenTime,
                         EventWriter& events);

// The first ten of `ranked`, or all if there are fewer.
void WriteTop10Document(const std::vector<CpuProcessStatistics>& ranked,
                        const std::string& happenTime, EventWriter& events);

// The samples' sums over all processes.
void WriteTotalDocument(const CpuGlobalFindings& findings, const std::string& happenTime,
                        EventWriter& events);

void WriteProcessSetDocument(const std::vector<CpuSetFindings>& findings,
                             const std::string& happenTime, EventWriter& events);

void WriteCoresDocument(const CpuCoresFindings& findings, const std::string& happenTime,
                        EventWriter& events);

}  // namespace zarn
