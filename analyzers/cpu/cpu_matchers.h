#pragma once

#include <string_view>

#include "analyzers/cpu/cpu_patterns.h"

// The exact matchers of the table in cpu_patterns.h, one per expression; each is a CpuMatcher.
namespace zarn {

// \d{17}
[[nodiscard]] bool MatchTimeStamp(std::string_view text, CpuGroups& groups);

// ^top\s+-\s+(\d+:\d+:\d+)\s+up.*?load average: and three numbers
[[nodiscard]] bool MatchTop(std::string_view text, CpuGroups& groups);

// ^Tasks:\s*(\d+)\s*total.*
[[nodiscard]] bool MatchTasks(std::string_view text, CpuGroups& groups);

// Cpu\(s\): and eight shares
[[nodiscard]] bool MatchCpu(std::string_view text, CpuGroups& groups);

// \s*(\d+).*[A-Z]\s*(\d+\.?\d+)\s+.*\s+(\S+)
[[nodiscard]] bool MatchProcInfo(std::string_view text, CpuGroups& groups);

// (Cpu\d+)\s+: and eight shares
[[nodiscard]] bool MatchCoresCpu(std::string_view text, CpuGroups& groups);

}  // namespace zarn
