#pragma once

#include <string>
#include <vector>

#include "report/family.h"
#include "report/run.h"
#include "report/run_facts.h"

namespace zarn::report {

// What a run lacks.
struct Missing {
    std::string what;
    Reason reason;
};

// A run with what its pages found.
struct RunView {
    std::string label;
    Run run;
    RunFacts facts;
    std::vector<Finding> findings;
    std::vector<Missing> missing;
};

// The first page: what was run, what was found, what is missing and why.
[[nodiscard]] Page SummaryPage(const std::vector<RunView>& views, const Files& files);

}  // namespace zarn::report
