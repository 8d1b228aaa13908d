#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "kit/setting_key.h"

// The section `SchedCollector`: how it is declared, and how it is read. The scheduler's analyzer
// reads the same section, by the same function.
namespace zarn {

inline constexpr const char* kSchedGlobalJob = "global";
inline constexpr const char* kSchedCoreJob = "core";
inline constexpr const char* kSchedProcessJob = "process";
inline constexpr const char* kSchedPriorityJob = "priority_affinity";
inline constexpr const char* kSchedLiteJob = "lite";

// Processes that were found running: the pid of each stands at the place of its name.
struct SchedProcesses {
    std::vector<std::string> names;
    std::vector<std::int32_t> pids;
};

struct SchedJobParam {
    static constexpr std::uint32_t kDurationLimit = 600;
    static constexpr std::uint32_t kTopNLimit = 1000;

    std::map<std::string, bool> jobs = {{kSchedGlobalJob, false},
                                        {kSchedCoreJob, false},
                                        {kSchedProcessJob, false},
                                        {kSchedPriorityJob, false},
                                        {kSchedLiteJob, false}};
    std::uint32_t count = 1;           // passes of the repeating jobs
    bool isCallRecord = false;         // record call graphs
    std::uint32_t duration = 1;        // seconds of one recording, at most kDurationLimit
    std::uint32_t topN = 10;           // rows of a report that count, at most kTopNLimit
    std::string sorted = "max";        // the sort key of latency reports, "max" or "avg"
    std::vector<std::uint32_t> cores;  // `coreID`
    SchedProcesses processes;          // of the job "process"
    SchedProcesses priorityProcesses;  // of the job "priority_affinity"
    std::vector<std::string> priorityThreads;
    std::uint64_t liteDuration = 300;   // seconds
    std::uint64_t liteThreshold = 150;  // milliseconds

    [[nodiscard]] bool Has(const char* job) const { return jobs.at(job); }
};

[[nodiscard]] const SettingKeys& SchedCollectorKeys();

// Replaces `param` by what `config`, an object, says; `runner` is asked for the pids of processes
// and the number of processors. False after its lines on the error stream: `param` then holds what
// was read up to there. A public key of `sched` that is missing where no job was said to need it,
// or a section or group that is no object, trips the JSON library's assertion.
[[nodiscard]] bool ReadSchedJobParam(const JsonDocument& config, CommandRunner& runner,
                                     SchedJobParam& param);

}  // namespace zarn
