#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analyzers/cpu/cpu_findings.h"
#include "foundation/json.h"

// The event documents of the CPU analysis: findings in, document out. Percentages are texts with
// six decimals unless said otherwise. `happenTime` is the time stamp of the log that was analysed.
namespace zarn {

// The shares of CPU time of the whole system.
[[nodiscard]] JsonDocument GlobalDocument(const CpuGlobalFindings& findings,
                                          const std::string& happenTime);

// The first ten of `ranked`, or all if there are fewer.
[[nodiscard]] JsonDocument Top10Document(const std::vector<CpuProcessStatistics>& ranked,
                                         const std::string& happenTime);

// The samples' sums over all processes.
[[nodiscard]] JsonDocument TotalDocument(const CpuGlobalFindings& findings,
                                         const std::string& happenTime);

[[nodiscard]] JsonDocument ProcessSetDocument(const std::vector<CpuSetFindings>& findings,
                                              const std::string& happenTime);

[[nodiscard]] JsonDocument CoresDocument(const CpuCoresFindings& findings,
                                         const std::string& happenTime);

}  // namespace zarn
