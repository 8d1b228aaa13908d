#include "board/model/topdown.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <vector>

#include "board/model/pipeline.h"

namespace zarn::board {
namespace {

using Event = CpuEvent;
using Values = std::map<std::string, double>;

constexpr double kFlushCycles = 5.0;
// For values that always count.
constexpr double kAlways = -std::numeric_limits<double>::infinity();

// A value, and how large it must be to count. It may ask for those above it in the list.
struct Formula {
    const char* name;
    double limit;
    double (*value)(const CpuCounts&, const Values&);
};

double PerCycle(const CpuCounts& counts, Event event) {
    return counts[event] / counts[Event::Cycles];
}

double PerSlot(const CpuCounts& counts, Event event) {
    return PerCycle(counts, event) / kSlotsPerCycle;
}

double Memory(const CpuCounts& counts) {
    return PerCycle(counts, Event::LoadStall) + PerCycle(counts, Event::StoreStall);
}

double Near(const CpuCounts& counts, Event access, Event refill) {
    return (PerCycle(counts, access) - PerCycle(counts, refill)) * kNearMissCycles;
}

double Far(const CpuCounts& counts, Event refill) {
    return PerCycle(counts, refill) * kFarMissCycles;
}

double OfBranchMisses(const CpuCounts& counts, Event event) {
    return counts[event] / counts[Event::BranchMisses];
}

template <Event kEvent>
double Cycles(const CpuCounts& counts, const Values& /*above*/) {
    return PerCycle(counts, kEvent);
}

template <Event kEvent>
double Slots(const CpuCounts& counts, const Values& /*above*/) {
    return PerSlot(counts, kEvent);
}

template <Event kEvent>
double Flushed(const CpuCounts& counts, const Values& /*above*/) {
    return PerCycle(counts, kEvent) * kFlushCycles;
}

const std::array<Formula, 41> kFormulas{{
    {"Frontend_Bound", kAlways, Slots<Event::FetchBubble>},
    {"Bad_Speculation", kAlways,
     [](const CpuCounts& counts, const Values&) {
         return PerSlot(counts, Event::InstSpec) - PerSlot(counts, Event::InstRetired);
     }},
    {"Retiring", kAlways, Slots<Event::InstRetired>},
    {"Backend_Bound", kAlways,
     [](const CpuCounts&, const Values& above) {
         return 1.0 - above.at("Frontend_Bound") - above.at("Bad_Speculation") -
                above.at("Retiring");
     }},
    {"Frontend_Bound.Fetch_Latency", kAlways, Slots<Event::LongFetchBubble>},
    {"Frontend_Bound.Fetch_Bandwidth", kAlways,
     [](const CpuCounts&, const Values& above) {
         return above.at("Frontend_Bound") - above.at("Frontend_Bound.Fetch_Latency");
     }},
    {"Frontend_Bound.Fetch_Latency.ITLB_Misses", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return Near(counts, Event::L2iTlbAccess, Event::L2iTlbRefill) +
                Far(counts, Event::L2iTlbRefill);
     }},
    {"Frontend_Bound.Fetch_Latency.ITLB_Misses.L1_ITBL_MISS", 0.1,
     [](const CpuCounts& counts, const Values&) {
         return Near(counts, Event::L2iTlbAccess, Event::L2iTlbRefill);
     }},
    {"Frontend_Bound.Fetch_Latency.ITLB_Misses.L2_ITBL_MISS", 0.1,
     [](const CpuCounts& counts, const Values&) { return Far(counts, Event::L2iTlbRefill); }},
    {"Frontend_Bound.Fetch_Latency.ICache_Misses", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return Near(counts, Event::L2iAccess, Event::L2iRefill) + Far(counts, Event::L2iRefill);
     }},
    {"Frontend_Bound.Fetch_Latency.ICache_Misses.L1_ICache_MISS", 0.1,
     [](const CpuCounts& counts, const Values&) {
         return Near(counts, Event::L2iAccess, Event::L2iRefill);
     }},
    {"Frontend_Bound.Fetch_Latency.ICache_Misses.L2_ICache_MISS", 0.1,
     [](const CpuCounts& counts, const Values&) { return Far(counts, Event::L2iRefill); }},
    {"Frontend_Bound.Fetch_Latency.BP_Misp_Flush", 0.05, Flushed<Event::BranchMisses>},
    {"Frontend_Bound.Fetch_Latency.OOO_Flush", 0.05, Flushed<Event::Flush>},
    {"Frontend_Bound.Fetch_Latency.SP_Flush", 0.05, Flushed<Event::SpBranch>},
    {"Bad_Speculation.Branch_Mispredicts", kAlways,
     [](const CpuCounts& counts, const Values& above) {
         return counts[Event::BranchMisses] / (counts[Event::BranchMisses] + counts[Event::Flush]) *
                above.at("Bad_Speculation");
     }},
    {"Bad_Speculation.Branch_Mispredicts.Indirect_Branch", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return OfBranchMisses(counts, Event::IndirectMiss);
     }},
    {"Bad_Speculation.Branch_Mispredicts.Push_Branch", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return OfBranchMisses(counts, Event::CallMiss) + OfBranchMisses(counts, Event::PushMiss);
     }},
    {"Bad_Speculation.Branch_Mispredicts.Pop_Branch", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return OfBranchMisses(counts, Event::ReturnMiss);
     }},
    {"Bad_Speculation.Branch_Mispredicts.Other_Branch", 0.05,
     [](const CpuCounts&, const Values& above) {
         return above.at("Bad_Speculation.Branch_Mispredicts") -
                above.at("Bad_Speculation.Branch_Mispredicts.Push_Branch") -
                above.at("Bad_Speculation.Branch_Mispredicts.Pop_Branch");
     }},
    {"Bad_Speculation.Machine_Clears", kAlways,
     [](const CpuCounts&, const Values& above) {
         return above.at("Bad_Speculation") - above.at("Bad_Speculation.Branch_Mispredicts");
     }},
    {"Bad_Speculation.Machine_Clears.Nuke_Flush", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return counts[Event::NukeFlush] / counts[Event::Flush];
     }},
    {"Bad_Speculation.Machine_Clears.Other_Flush", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return 1.0 - counts[Event::NukeFlush] / counts[Event::Flush];
     }},
    {"Backend_Bound.Memory_Bound", kAlways,
     [](const CpuCounts& counts, const Values& above) {
         return Memory(counts) * above.at("Backend_Bound");
     }},
    {"Backend_Bound.Memory_Bound.L1_Bound", 0.1,
     [](const CpuCounts& counts, const Values&) { return Memory(counts); }},
    {"Backend_Bound.Memory_Bound.L2_Bound", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return std::max(PerCycle(counts, Event::LoadStall) - PerCycle(counts, Event::L1MissOpen),
                         0.0);
     }},
    {"Backend_Bound.Memory_Bound.DRAM_Bound", 0.1, Cycles<Event::L2MissOpen>},
    {"Backend_Bound.Memory_Bound.Store_Bound", 0.2, Cycles<Event::StoreStall>},
    {"Backend_Bound.Core_Bound", kAlways,
     [](const CpuCounts& counts, const Values& above) {
         return (PerCycle(counts, Event::ExeStall) - Memory(counts) -
                 PerCycle(counts, Event::ResourceStall)) *
                above.at("Backend_Bound");
     }},
    {"Backend_Bound.Core_Bound.Divider", 0.2, Cycles<Event::DivideStall>},
    {"Backend_Bound.Core_Bound.FSU_Stall", 0.05, Cycles<Event::FsuStall>},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization", 0.2,
     [](const CpuCounts&, const Values& above) {
         return above.at("Backend_Bound.Core_Bound") -
                above.at("Backend_Bound.Core_Bound.Divider") -
                above.at("Backend_Bound.Core_Bound.FSU_Stall");
     }},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.ALU_BRU_Ports_Utilized", 0.2,
     Cycles<Event::AluQueueStall>},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.LS_Ports_Utilized", 0.2,
     Cycles<Event::LsuQueueStall>},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.FSU_Ports_Utilized", 0.2,
     Cycles<Event::FsuQueueStall>},
    {"Backend_Bound.Resource_Bound", kAlways,
     [](const CpuCounts& counts, const Values& above) {
         return PerCycle(counts, Event::ResourceStall) * above.at("Backend_Bound");
     }},
    {"Backend_Bound.Resource_Bound.Sync_Stall", 0.05, Cycles<Event::SyncStall>},
    {"Backend_Bound.Resource_Bound.Rob_Stall", 0.05, Cycles<Event::RobStall>},
    {"Backend_Bound.Resource_Bound.Ptag_Stall", 0.05,
     [](const CpuCounts& counts, const Values&) {
         return PerCycle(counts, Event::IntTagStall) + PerCycle(counts, Event::CcTagStall) +
                PerCycle(counts, Event::VfpTagStall);
     }},
    {"Backend_Bound.Resource_Bound.SaveOpQ_Stall", 0.05, Cycles<Event::SaveQueueStall>},
    {"Backend_Bound.Resource_Bound.PC_buffer_stall", 0.05, Cycles<Event::PcBufferStall>},
}};

// The name of the level above; "" on top.
std::string Above(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? "" : name.substr(0, dot);
}

// Descends from the largest of the topmost values to the largest below it, as long as there is one
// that counts.
std::string Descend(const Values& counting) {
    std::string winner;
    while (true) {
        std::string best;
        for (const auto& [name, value] : counting) {
            if (Above(name) == winner && (best.empty() || value > counting.at(best))) {
                best = name;
            }
        }
        if (best.empty()) {
            return winner;
        }
        winner = best;
    }
}

}  // namespace

Topdown TopdownOf(const CpuCounts& counts) {
    Topdown result;
    if (counts[Event::Cycles] <= 0.0) {
        return result;
    }
    Values counting;
    for (const Formula& formula : kFormulas) {
        const double value = formula.value(counts, result.metrics);
        result.metrics[formula.name] = value;
        const std::string above = Above(formula.name);
        if (value > formula.limit && (above.empty() || counting.count(above) > 0)) {
            counting[formula.name] = value;
        }
    }
    result.bottleneck = Descend(counting);
    return result;
}

}  // namespace zarn::board
