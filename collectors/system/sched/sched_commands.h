#pragma once

#include <cstdint>
#include <string>

#include "collectors/system/sched/sched_job_param.h"

// The scheduler collector's shell lines, as they are run. Paths are those of files.
namespace zarn {

// The files of one target.
struct PerfFiles {
    std::string record;
    std::string latency;
    std::string timehist;
};

// Records for the section's duration, then appends both reports. `target`: what options restrict
// the recording to, empty for the whole system.
[[nodiscard]] std::string PerfCommand(const SchedJobParam& param, const std::string& target,
                                      const PerfFiles& files);
[[nodiscard]] std::string CoreOption(std::uint32_t core);
[[nodiscard]] std::string ProcessOption(std::int32_t pid);

// How a process, or its threads, are set up: appended to a log.
[[nodiscard]] std::string ProcessPriorityCommand(const std::string& pid, const std::string& log);
[[nodiscard]] std::string ThreadListCommand(const std::string& pid, const std::string& log);
[[nodiscard]] std::string ThreadPriorityCommand(const std::string& pid, const std::string& log);
[[nodiscard]] std::string AffinityCommand(const std::string& id, const std::string& log);
[[nodiscard]] std::string PolicyCommand(const std::string& id, const std::string& log);
// The threads whose line in `top` holds `name`; fails where there is none.
[[nodiscard]] std::string NamedThreadCommand(const std::string& name, const std::string& log);

// The files of the light recorder.
struct LiteFiles {
    std::string log;
    std::string table;
    std::string stacks;
};

// Arms it, then copies what it holds. A threshold that 64 bits of nanoseconds cannot hold is their
// greatest.
[[nodiscard]] std::string LiteStartCommand(std::uint64_t thresholdMs, const LiteFiles& files);
inline constexpr const char* kLiteStopCommand = "echo 0 > /proc/perf/sched_ctrl";
inline constexpr const char* kLiteSleepCommand = "sleep 10";
inline constexpr std::uint64_t kLiteSleepSeconds = 10;

}  // namespace zarn
