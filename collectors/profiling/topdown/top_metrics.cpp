#include "collectors/profiling/topdown/top_metrics.h"

#include "collectors/profiling/topdown/bad_speculation_metrics.h"
#include "collectors/profiling/topdown/core_bound_metrics.h"
#include "collectors/profiling/topdown/frontend_metrics.h"
#include "collectors/profiling/topdown/memory_bound_metrics.h"
#include "collectors/profiling/topdown/resource_bound_metrics.h"

namespace zarn {

Retiring::Retiring() : BasicMetric({"", "Retiring", "Retiring"}, 1) {}

bool Retiring::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("INST_RETIRED", data) / (cycles * kSlotsPerCycle);
    });
}

BackendBound::BackendBound() : BasicMetric({"", "Backend_Bound", "Backend Bound"}, 1) {
    Add<CoreBound>();
    Add<MemoryBound>();
    Add<ResourceBound>();
}

bool BackendBound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float frontend = GetMetric("Frontend_Bound", data);
        const float whole = GetMetric("Bad_Speculation", data);
        const float retiring = GetMetric("Retiring", data);
        return 1.0F - (frontend + whole + retiring);
    });
}

TopDown::TopDown() : BasicMetric({"", "TopDown", ""}, 0) {
    Add<FrontendBound>();
    Add<BadSpeculation>();
    Add<Retiring>();
    Add<BackendBound>();
}

bool TopDown::Compute(TopdownData& data) {
    ComputeChildren(data);
    return true;
}

}  // namespace zarn
