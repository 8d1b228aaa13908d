#include "collectors/profiling/topdown/memory_bound_metrics.h"

#include <algorithm>

namespace zarn {

MemoryBound::MemoryBound() : BasicMetric({"Backend_Bound.", "Memory_Bound", "Memory Bound"}, 2) {
    Add<L1Bound>();
    Add<L2Bound>();
    AddAs<DRAMBound>("DRAMBound");
    Add<StoreBound>();
}

bool MemoryBound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float loads = GetEvent("memstall_anyload", data);
        const float stores = GetEvent("memstall_anystore", data);
        const float backend = GetMetric("Backend_Bound", data);
        return (loads + stores) / cycles * backend;
    });
}

L1Bound::L1Bound()
    : BasicMetric({"Backend_Bound.Memory_Bound.", "L1_Bound", "L1_Bound"}, 3, 0.1F) {}

bool L1Bound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float loads = GetEvent("memstall_anyload", data);
        const float stores = GetEvent("memstall_anystore", data);
        return (loads + stores) / cycles;
    });
}

L2Bound::L2Bound()
    : BasicMetric({"Backend_Bound.Memory_Bound.", "L2_Bound", "L2_Bound"}, 3, 0.05F) {}

bool L2Bound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float loads = GetEvent("memstall_anyload", data);
        const float misses = GetEvent("memstall_L1miss", data);
        return std::max((loads - misses) / cycles, 0.0F);
    });
}

DRAMBound::DRAMBound()
    : BasicMetric({"Backend_Bound.Memory_Bound.", "DRAM_Bound", "DRAMBound"}, 3, 0.1F) {}

bool DRAMBound::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("memstall_L2miss", data) / cycles; });
}

StoreBound::StoreBound()
    : BasicMetric({"Backend_Bound.Memory_Bound.", "Store_Bound", "Store_Bound"}, 3, 0.2F) {}

bool StoreBound::Compute(TopdownData& data) {
    return ComputeBy(
        data, [&data](float cycles) { return GetEvent("memstall_anystore", data) / cycles; });
}

}  // namespace zarn
