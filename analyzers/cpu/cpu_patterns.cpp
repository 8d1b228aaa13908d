#include "analyzers/cpu/cpu_patterns.h"

#include "analyzers/cpu/cpu_matchers.h"

namespace zarn {

const CpuPatternTable& CpuPatterns() {
    static const CpuPatternTable table = {
        {"regexpTimeStamp", {R"(\d{17})", MatchTimeStamp}},
        {"regexpTop",
         {R"(^top\s+-\s+(\d+:\d+:\d+)\s+up.*?load average:\s*(\d+\.?\d+),\s*(\d+\.?\d+),\s*(\d+\.?\d+))",
          MatchTop}},
        {"regexpTasks", {R"(^Tasks:\s*(\d+)\s*total.*)", MatchTasks}},
        {"regexpCpu",
         {R"(Cpu\(s\):\s*(\d+\.?\d+)\s*us,\s*(\d+\.?\d+)\s*sy,\s*(\d+\.?\d+)\s*ni,)"
          R"(\s*(\d+\.?\d+)\s*id,\s*(\d+\.?\d+)\s*wa,\s*(\d+\.?\d+)\s*hi,\s*(\d+\.?\d+)\s*si,)"
          R"(\s*(\d+\.?\d+)\s*st)",
          MatchCpu}},
        {"regexpProcInfo", {R"(\s*(\d+).*[A-Z]\s*(\d+\.?\d+)\s+.*\s+(\S+))", MatchProcInfo}},
        {"regexpCoresCpu",
         {R"((Cpu\d+)\s+:\s*(\d+\.?\d+)\s*us,\s*(\d+\.?\d+)\s*sy,\s*(\d+\.?\d+)\s*ni,)"
          R"(\s*(\d+\.?\d+)\s*id,\s*(\d+\.?\d+)\s*wa,\s*(\d+\.?\d+)\s*hi,\s*(\d+\.?\d+)\s*si,)"
          R"(\s*(\d+\.?\d+)\s*st)",
          MatchCoresCpu}},
    };
    return table;
}

}  // namespace zarn
