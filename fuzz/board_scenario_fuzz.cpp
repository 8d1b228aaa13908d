#include <cmath>
#include <memory>
#include <numeric>

#include "board/model/bursts.h"
#include "board/model/core_times.h"
#include "board/model/pipeline.h"
#include "board/setup/scenario_parser.h"
#include "board/state/cpu_observation.h"
#include "fuzz/fuzz_input.h"

// A scenario of the board: it is refused, or the pipelines of its programs keep to what a processor
// can do, however little the memory serves, and its cores to their time.
namespace {

using zarn::board::CpuCounts;
using Event = zarn::board::CpuEvent;
using zarn::fuzz::Require;

constexpr double kRounding = 1e-9;

void RequireRates(const CpuCounts& rates) {
    for (std::size_t i = 0; i < zarn::board::kCpuEventCount; ++i) {
        const double rate = rates[static_cast<Event>(i)];
        Require(std::isfinite(rate) && rate >= 0.0, "an event happens at a rate");
    }
    const auto isPartOf = [&rates](Event part, Event whole) {
        return rates[part] <= rates[whole] + kRounding;
    };
    Require(isPartOf(Event::InstRetired, Event::InstSpec), "what is retired was begun");
    Require(isPartOf(Event::LongFetchBubble, Event::FetchBubble), "long gaps are gaps");
    Require(isPartOf(Event::L2iRefill, Event::L2iAccess), "refills are asked for");
    Require(isPartOf(Event::L2iTlbRefill, Event::L2iTlbAccess), "refills are asked for");
    Require(isPartOf(Event::NukeFlush, Event::Flush), "a flush of all is a flush");
    Require(isPartOf(Event::L2MissOpen, Event::L1MissOpen), "the first level misses before");
    Require(isPartOf(Event::L1MissOpen, Event::Cycles), "a cycle is one cycle");
    Require(isPartOf(Event::ExeStall, Event::Cycles), "a cycle stalls once");
    Require(rates[Event::InstSpec] + rates[Event::FetchBubble] <=
                zarn::board::kSlotsPerCycle + kRounding,
            "a cycle has four slots");
}

// Some ticks of the cores, with bursts of a minute.
void RequireCores(const zarn::board::BoardState& state) {
    constexpr std::uint64_t kTicks = 4;
    constexpr std::uint64_t kMinuteUs = 60000000;
    const zarn::board::SchedPlan& plan = state.scenario.sched;
    zarn::board::CoreTimes times(plan, state.seed);
    times.Advance(kTicks);
    for (const zarn::board::CoreTicks& core : times.Cores()) {
        Require(core.user + core.nice + core.idle == kTicks, "each tick is one of a core's times");
    }
    std::uint64_t lastUs = 0;
    const zarn::board::SchedSpan span{kMinuteUs - 1000000, kMinuteUs};
    for (const auto& burst : BurstsIn(state.scenario.demands, plan, state.seed, span)) {
        Require(burst.span.fromUs < burst.span.toUs, "a burst lasts");
        Require(burst.span.fromUs < span.toUs && burst.span.toUs > span.fromUs,
                "a burst lies in the time");
        Require(burst.span.fromUs >= lastUs, "the first is told first");
        lastUs = burst.span.fromUs;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto state = std::make_unique<zarn::board::BoardState>();
    const auto reason = ParseScenario(zarn::fuzz::AsText(data, size), *state);
    if (reason) {
        Require(!reason->empty(), "a refusal has a reason");
        return 0;
    }
    RequireCores(*state);
    for (std::size_t i = 0; i < state->scenario.programs.count; ++i) {
        const zarn::board::PipelineProfile& profile = ProfileOf(*state, i);
        for (const double stretch : {1.0, 1.5, 20.0}) {
            RequireRates(RatesPerCycle(profile, stretch));
            const auto shares = FunctionShares(profile, stretch);
            const double sum = std::accumulate(shares.begin(), shares.end(), 0.0);
            Require(std::abs(sum - 1.0) < kRounding, "all cycles are those of functions");
        }
    }
    return 0;
}
