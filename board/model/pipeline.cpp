#include "board/model/pipeline.h"

#include <algorithm>

namespace zarn::board {
namespace {

constexpr double kPerThousand = 1000.0;
constexpr double kMostWait = 0.95;  // no function does nothing but wait

// What of each function's cycles is waited for the DDR: the program's share, parted by the
// functions' own weights.
PerFunction WaitsOf(const PipelineProfile& profile) {
    double sum = 0.0;
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        sum += profile.functions[i] * kWorkFunctions[i].waits;
    }
    PerFunction waits{};
    for (std::size_t i = 0; i < kWorkFunctionCount && sum > 0.0; ++i) {
        waits[i] = std::min(profile.ddrWait * kWorkFunctions[i].waits / sum, kMostWait);
    }
    return waits;
}

// The events of which the same work brings the same number, however long it takes.
CpuCounts WorkEvents(const PipelineProfile& profile) {
    using Event = CpuEvent;
    CpuCounts counts;
    counts[Event::InstRetired] = profile.retiring * kSlotsPerCycle;
    counts[Event::InstSpec] = (profile.retiring + profile.badSpeculation) * kSlotsPerCycle;
    counts[Event::FetchBubble] = profile.frontend * kSlotsPerCycle;
    counts[Event::LongFetchBubble] = profile.frontend * profile.fetchLatency * kSlotsPerCycle;
    counts[Event::L2iTlbRefill] = profile.itlbFar / kFarMissCycles;
    counts[Event::L2iTlbAccess] = counts[Event::L2iTlbRefill] + profile.itlbNear / kNearMissCycles;
    counts[Event::L2iRefill] = profile.icacheFar / kFarMissCycles;
    counts[Event::L2iAccess] = counts[Event::L2iRefill] + profile.icacheNear / kNearMissCycles;
    const double misses = profile.branchMisses / kPerThousand;
    counts[Event::BranchMisses] = misses;
    counts[Event::IndirectMiss] = misses * profile.indirect;
    counts[Event::CallMiss] = misses * profile.push * 2 / 3;
    counts[Event::PushMiss] = misses * profile.push / 3;
    counts[Event::ReturnMiss] = misses * profile.pop;
    counts[Event::SpBranch] = profile.spBranches / kPerThousand;
    counts[Event::Flush] = profile.flushes / kPerThousand;
    counts[Event::NukeFlush] = counts[Event::Flush] * profile.nuke;
    counts[Event::StoreStall] = profile.storeStall;
    counts[Event::ResourceStall] = profile.resource;
    counts[Event::RobStall] = profile.rob;
    counts[Event::SyncStall] = profile.sync;
    counts[Event::IntTagStall] = profile.tags / 2;
    counts[Event::CcTagStall] = profile.tags / 4;
    counts[Event::VfpTagStall] = profile.tags / 4;
    counts[Event::SaveQueueStall] = profile.saveQueue;
    counts[Event::PcBufferStall] = profile.pcBuffer;
    counts[Event::DivideStall] = profile.divider;
    counts[Event::FsuStall] = profile.fsu;
    counts[Event::AluQueueStall] = profile.aluPorts;
    counts[Event::LsuQueueStall] = profile.lsPorts;
    counts[Event::FsuQueueStall] = profile.fsuPorts;
    return counts;
}

}  // namespace

PerFunction UsualFunctions(std::uint32_t version) {
    PerFunction shares{};
    double sum = 0.0;
    for (const WorkFunction& function : kWorkFunctions) {
        sum += function.weights[version - 1];
    }
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        shares[i] = kWorkFunctions[i].weights[version - 1] / sum;
    }
    return shares;
}

double DdrWait(const PipelineProfile& profile) {
    const PerFunction waits = WaitsOf(profile);
    double sum = 0.0;
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        sum += profile.functions[i] * waits[i];
    }
    return sum;
}

double TimeFactor(const PipelineProfile& profile, double stretch) {
    return 1.0 + DdrWait(profile) * (stretch - 1.0);
}

PerFunction FunctionShares(const PipelineProfile& profile, double stretch) {
    const PerFunction waits = WaitsOf(profile);
    const double factor = TimeFactor(profile, stretch);
    PerFunction shares{};
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        shares[i] = profile.functions[i] * (1.0 + waits[i] * (stretch - 1.0)) / factor;
    }
    return shares;
}

PerFunction LineShares(const PipelineProfile& profile) {
    PerFunction shares = WaitsOf(profile);
    double sum = 0.0;
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        shares[i] = (shares[i] + profile.ddrOverlap) * profile.functions[i];
        sum += shares[i];
    }
    for (double& share : shares) {
        share = sum > 0.0 ? share / sum : 0.0;
    }
    return shares;
}

CpuCounts RatesPerCycle(const PipelineProfile& profile, double stretch) {
    using Event = CpuEvent;
    const double factor = TimeFactor(profile, stretch);
    CpuCounts rates;
    rates.Add(WorkEvents(profile), 1.0 / factor);
    rates[Event::Cycles] = 1.0;
    const double wait = DdrWait(profile) * stretch;
    rates[Event::LoadStall] = (profile.loadStall + wait) / factor;
    rates[Event::ExeStall] = rates[Event::LoadStall] + rates[Event::StoreStall] +
                             rates[Event::ResourceStall] + profile.core / factor;
    // Cycles in which a miss is open, stalled or not: a miss that takes longer is open for longer.
    rates[Event::L2MissOpen] = std::min(1.0, (wait + profile.ddrOverlap * stretch) / factor);
    rates[Event::L1MissOpen] = std::min(1.0, rates[Event::L2MissOpen] + profile.l1Open / factor);
    return rates;
}

}  // namespace zarn::board
