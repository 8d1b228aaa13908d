#include "collectors/profiling/topdown/bad_speculation_metrics.h"

namespace zarn {

BadSpeculation::BadSpeculation() : BasicMetric({"", "Bad_Speculation", "Bad Speculation"}, 1) {
    Add<BranchMispredicts>();
    Add<MachineClears>();
}

bool BadSpeculation::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float speculated = GetEvent("INST_SPEC", data);
        const float retired = GetEvent("INST_RETIRED", data);
        return (speculated - retired) / (cycles * kSlotsPerCycle);
    });
}

BranchMispredicts::BranchMispredicts()
    : BasicMetric({"Bad_Speculation.", "Branch_Mispredicts", "Branch Mispredicts"}, 2) {
    Add<IndirectBranch>();
    Add<PushBranch>();
    Add<PopBranch>();
    Add<OtherBranch>();
}

bool BranchMispredicts::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float mispredicts = GetEvent("BR_MIS_PRED", data);
        const float flushes = GetEvent("ooo_flush_r4", data);
        const float whole = GetMetric("Bad_Speculation", data);
        return mispredicts / (mispredicts + flushes) * whole;
    });
}

IndirectBranch::IndirectBranch()
    : BasicMetric({"Bad_Speculation.Branch_Mispredicts.", "Indirect_Branch", "Indirect Branch"}, 3,
                  0.05F) {}

bool IndirectBranch::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float indirect = GetEvent("IF_BP_MISP_BR_IND", data);
        const float mispredicts = GetEvent("BR_MIS_PRED", data);
        return indirect / mispredicts;
    });
}

PushBranch::PushBranch()
    : BasicMetric({"Bad_Speculation.Branch_Mispredicts.", "Push_Branch", "Push Branch"}, 3, 0.05F) {
}

bool PushBranch::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float calls = GetEvent("IF_BR_BL_SPEC", data);
        const float loops = GetEvent("IF_BP_PRED_BR_LP", data);
        const float mispredicts = GetEvent("BR_MIS_PRED", data);
        return (calls + loops) / mispredicts;
    });
}

PopBranch::PopBranch()
    : BasicMetric({"Bad_Speculation.Branch_Mispredicts.", "Pop_Branch", "Pop Branch"}, 3, 0.05F) {}

bool PopBranch::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float returns = GetEvent("IF_BP_PRED_BR_RET", data);
        const float mispredicts = GetEvent("BR_MIS_PRED", data);
        return returns / mispredicts;
    });
}

OtherBranch::OtherBranch()
    : BasicMetric({"Bad_Speculation.Branch_Mispredicts.", "Other_Branch", "Other Branch"}, 3,
                  0.05F) {}

bool OtherBranch::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float mispredicts = GetMetric("Bad_Speculation.Branch_Mispredicts", data);
        const float push = GetMetric("Bad_Speculation.Branch_Mispredicts.Push_Branch", data);
        const float pop = GetMetric("Bad_Speculation.Branch_Mispredicts.Pop_Branch", data);
        return mispredicts - push - pop;
    });
}

MachineClears::MachineClears()
    : BasicMetric({"Bad_Speculation.", "Machine_Clears", "Machine Clears"}, 2) {
    Add<NukeFlush>();
    Add<OtherFlush>();
}

bool MachineClears::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float whole = GetMetric("Bad_Speculation", data);
        const float mispredicts = GetMetric("Bad_Speculation.Branch_Mispredicts", data);
        return whole - mispredicts;
    });
}

NukeFlush::NukeFlush()
    : BasicMetric({"Bad_Speculation.Machine_Clears.", "Nuke_Flush", "Nuke Flush"}, 3, 0.05F) {}

bool NukeFlush::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float nukes = GetEvent("nuke_flush", data);
        const float flushes = GetEvent("ooo_flush_r4", data);
        return nukes / flushes;
    });
}

OtherFlush::OtherFlush()
    : BasicMetric({"Bad_Speculation.Machine_Clears.", "Other_Flush", "Other Flush"}, 3, 0.05F) {}

bool OtherFlush::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float flushes = GetEvent("ooo_flush_r4", data);
        const float nukes = GetEvent("nuke_flush", data);
        return (flushes - nukes) / flushes;
    });
}

}  // namespace zarn
