#pragma once

#include <string>

#include "analyzers/sched/sched_analyzer_settings.h"
#include "formats/sched_analysis.h"
#include "foundation/command_runner.h"

namespace zarn {

// What the analyses of all targets share.
struct SchedContext {
    CommandRunner& runner;
    const SchedAnalyzerSettings& settings;
    std::string rawDir;       // the collector's, with its final slash, as the next two
    std::string analysisDir;  // for raw text
    std::string jsonDir;
    std::string bootTime;
};

// A target, and where its recording and reports lie.
struct SchedSource {
    sched_files::AnalysisTarget target;
    std::string record;
    std::string latency;
    std::string timehist;
};

}  // namespace zarn
