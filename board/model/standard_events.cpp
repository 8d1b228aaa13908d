#include "board/model/standard_events.h"

#include <algorithm>

namespace zarn::board {
namespace {

// Of 1000 instructions so many load, store, branch; a line of code has eight.
constexpr double kLoads = 0.25;
constexpr double kStores = 0.12;
constexpr double kBranches = 0.18;
constexpr double kInstructionsALine = 8.0;
// Cycles that a load waits for the DDR while it serves all, 100 ns.
constexpr double kDdrCycles = 200.0;
// Of the lines that come from the DDR so many are fetched to be written, and so many lie in a page
// that has not been looked up.
constexpr double kWrittenLines = 0.25;
constexpr double kNewPages = 0.125;

}  // namespace

std::optional<StandardEvent> StandardEventOf(std::string_view name) {
    const auto* const found =
        std::find(kStandardEventNames.begin(), kStandardEventNames.end(), name);
    return found == kStandardEventNames.end()
               ? std::nullopt
               : std::optional(static_cast<StandardEvent>(found - kStandardEventNames.begin()));
}

StandardCounts StandardRatesPerCycle(const PipelineProfile& profile, double stretch) {
    using Event = StandardEvent;
    const CpuCounts rates = RatesPerCycle(profile, stretch);
    const double factor = TimeFactor(profile, stretch);
    StandardCounts counts;
    counts[Event::Cycles] = 1.0;
    const double instructions = rates[CpuEvent::InstRetired];
    counts[Event::Instructions] = instructions;
    counts[Event::BranchMisses] = rates[CpuEvent::BranchMisses];
    counts[Event::Branches] = std::max(kBranches * instructions, counts[Event::BranchMisses]);
    counts[Event::FrontendStalls] = rates[CpuEvent::FetchBubble] / kSlotsPerCycle;
    counts[Event::BackendStalls] = rates[CpuEvent::ExeStall];

    // The same work brings the same number of these, however long it takes.
    const double lines = (DdrWait(profile) + profile.ddrOverlap) / kDdrCycles / factor;
    counts[Event::LastLoadMisses] = lines;
    counts[Event::LastStoreMisses] = lines * kWrittenLines;
    counts[Event::LastLoads] = lines + profile.l1Open / kNearMissCycles / factor;
    counts[Event::LastStores] =
        counts[Event::LastStoreMisses] + profile.storeStall / kNearMissCycles / factor;
    counts[Event::CacheReferences] = counts[Event::LastLoads] + counts[Event::LastStores];
    counts[Event::CacheMisses] = counts[Event::LastLoadMisses] + counts[Event::LastStoreMisses];
    // What the first level lacks the last one is asked for.
    counts[Event::FirstLoadMisses] = counts[Event::LastLoads];
    counts[Event::FirstStoreMisses] = counts[Event::LastStores];
    counts[Event::FirstLoads] = std::max(kLoads * instructions, counts[Event::FirstLoadMisses]);
    counts[Event::FirstStores] = std::max(kStores * instructions, counts[Event::FirstStoreMisses]);
    counts[Event::DataTlbLoads] = counts[Event::FirstLoads];
    counts[Event::DataTlbLoadMisses] = lines * kNewPages;
    counts[Event::CodeTlbLoadMisses] = rates[CpuEvent::L2iTlbAccess];
    counts[Event::CodeTlbLoads] =
        std::max(instructions / kInstructionsALine, counts[Event::CodeTlbLoadMisses]);
    return counts;
}

}  // namespace zarn::board
