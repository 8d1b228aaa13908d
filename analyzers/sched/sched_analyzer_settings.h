#pragma once

#include "collectors/system/sched/sched_job_param.h"
#include "foundation/command_runner.h"
#include "kit/setting_key.h"

namespace zarn {

// The section of the scheduler's analyzer, and what it takes from the collector's.
struct SchedAnalyzerSettings {
    SchedJobParam collected;        // its jobs are those that are to be analysed
    double runTimeThreshold = 0.0;  // ms; a row of the history above it is followed up
};

[[nodiscard]] const SettingKeys& SchedAnalyzerKeys();

// Reads the section `name` of `config`, and the collector's section beside it, with its lines and
// its questions to `runner`, whatever becomes of that. False after its lines if a key of its own
// section is missing or has a value that is not allowed.
[[nodiscard]] bool ReadSchedAnalyzerSettings(const JsonDocument& config, const char* name,
                                             CommandRunner& runner,
                                             SchedAnalyzerSettings& settings);

}  // namespace zarn
