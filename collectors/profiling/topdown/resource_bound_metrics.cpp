#include "collectors/profiling/topdown/resource_bound_metrics.h"

namespace zarn {

ResourceBound::ResourceBound()
    : BasicMetric({"Backend_Bound.", "Resource_Bound", "Resource Bound"}, 2) {
    Add<SyncStall>();
    Add<RobStall>();
    Add<PtagStall>();
    Add<SaveOpQStall>();
    Add<PCbufferstall>();
}

bool ResourceBound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float resources = GetEvent("resource_bound", data);
        const float backend = GetMetric("Backend_Bound", data);
        return resources / cycles * backend;
    });
}

SyncStall::SyncStall()
    : BasicMetric({"Backend_Bound.Resource_Bound.", "Sync_Stall", "Sync Stall"}, 3, 0.05F) {}

bool SyncStall::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) { return GetEvent("sync_stall", data) / cycles; });
}

RobStall::RobStall()
    : BasicMetric({"Backend_Bound.Resource_Bound.", "Rob_Stall", "Rob Stall"}, 3, 0.05F) {}

bool RobStall::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) { return GetEvent("rob_stall", data) / cycles; });
}

PtagStall::PtagStall()
    : BasicMetric({"Backend_Bound.Resource_Bound.", "Ptag_Stall", "Ptag_Stall"}, 3, 0.05F) {}

bool PtagStall::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float integers = GetEvent("Int_ptag_stall", data);
        const float flags = GetEvent("cc_ptag_stall", data);
        const float vectors = GetEvent("vfp_ptag_stall", data);
        return (integers + flags + vectors) / cycles;
    });
}

SaveOpQStall::SaveOpQStall()
    : BasicMetric({"Backend_Bound.Resource_Bound.", "SaveOpQ_Stall", "SaveOpQ_Stall"}, 3, 0.05F) {}

bool SaveOpQStall::Compute(TopdownData& data) {
    return ComputeBy(
        data, [&data](float cycles) { return GetEvent("saveop_queue_stall", data) / cycles; });
}

PCbufferstall::PCbufferstall()
    : BasicMetric({"Backend_Bound.Resource_Bound.", "PC_buffer_stall", "PC_buffer_stall"}, 3,
                  0.05F) {}

bool PCbufferstall::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("pcbuf_stall", data) / cycles; });
}

}  // namespace zarn
