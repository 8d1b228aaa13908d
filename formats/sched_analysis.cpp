#include "formats/sched_analysis.h"

namespace zarn {

std::string SchedTimehistAnalysis(const std::string& job) {
    return "soc_sched_" + job + "_timehist_ana";
}

}  // namespace zarn
