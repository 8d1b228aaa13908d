#include "collectors/profiling/topdown/core_bound_metrics.h"

namespace zarn {

CoreBound::CoreBound() : BasicMetric({"Backend_Bound.", "Core_Bound", "Core Bound"}, 2) {
    Add<Divider>();
    Add<FSUStall>();
    Add<ExePortsUtilization>();
}

bool CoreBound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float stalls = GetEvent("exe_stall_cycle", data);
        const float loads = GetEvent("memstall_anyload", data);
        const float stores = GetEvent("memstall_anystore", data);
        const float resources = GetEvent("resource_bound", data);
        const float backend = GetMetric("Backend_Bound", data);
        return (stalls - loads - stores - resources) / cycles * backend;
    });
}

Divider::Divider() : BasicMetric({"Backend_Bound.Core_Bound.", "Divider", "Divider"}, 3, 0.2F) {}

bool Divider::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("exe_stall_div", data) / cycles; });
}

FSUStall::FSUStall()
    : BasicMetric({"Backend_Bound.Core_Bound.", "FSU_Stall", "FSU_Stall"}, 3, 0.05F) {}

bool FSUStall::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) { return GetEvent("fsu_stall", data) / cycles; });
}

ExePortsUtilization::ExePortsUtilization()
    : BasicMetric({"Backend_Bound.Core_Bound.", "Exe_Ports_Utilization", "Ports Utilization"}, 3,
                  0.2F) {
    AddAs<ALUPortsUtilized>("ALU_Ports_Utilized");
    Add<LSPortsUtilized>();
    Add<FSUPortsUtilized>();
}

bool ExePortsUtilization::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float core = GetMetric("Backend_Bound.Core_Bound", data);
        const float divider = GetMetric("Backend_Bound.Core_Bound.Divider", data);
        const float fsu = GetMetric("Backend_Bound.Core_Bound.FSU_Stall", data);
        return core - divider - fsu;
    });
}

ALUPortsUtilized::ALUPortsUtilized()
    : BasicMetric({"Backend_Bound.Core_Bound.Exe_Ports_Utilization.", "ALU_BRU_Ports_Utilized",
                   "ALU_Ports_Utilized"},
                  4, 0.2F) {}

bool ALUPortsUtilized::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("alu_isq_stall", data) / cycles; });
}

LSPortsUtilized::LSPortsUtilized()
    : BasicMetric({"Backend_Bound.Core_Bound.Exe_Ports_Utilization.", "LS_Ports_Utilized",
                   "LS_Ports_Utilized"},
                  4, 0.2F) {}

bool LSPortsUtilized::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("lsu_isq_stall", data) / cycles; });
}

FSUPortsUtilized::FSUPortsUtilized()
    : BasicMetric({"Backend_Bound.Core_Bound.Exe_Ports_Utilization.", "FSU_Ports_Utilized",
                   "FSU_Ports_Utilized"},
                  4, 0.2F) {}

bool FSUPortsUtilized::Compute(TopdownData& data) {
    return ComputeBy(data,
                     [&data](float cycles) { return GetEvent("fsu_isq_stall", data) / cycles; });
}

}  // namespace zarn
