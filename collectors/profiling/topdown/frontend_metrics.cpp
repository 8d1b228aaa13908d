#include "collectors/profiling/topdown/frontend_metrics.h"

namespace zarn {
namespace {

constexpr float kFirstLevelMiss = 15.0F;    // cycles
constexpr float kSecondLevelMiss = 100.0F;  // cycles
constexpr float kFlush = 5.0F;              // cycles

}  // namespace

FrontendBound::FrontendBound() : BasicMetric({"", "Frontend_Bound", "Frontend Bound"}, 1) {
    Add<FetchLatency>();
    Add<FetchBandwidth>();
}

bool FrontendBound::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("fetch_bubble", data) / (cycles * kSlotsPerCycle);
    });
}

FetchLatency::FetchLatency()
    : BasicMetric({"Frontend_Bound.", "Fetch_Latency", "Fetch Latency"}, 2) {
    Add<ITLBMisses>();
    Add<ICacheMisses>();
    Add<BPMispFlush>();
    Add<OOOFlush>();
    Add<SPFlush>();
}

bool FetchLatency::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("FetchBubbles_ExceedMIW", data) / (cycles * kSlotsPerCycle);
    });
}

FetchBandwidth::FetchBandwidth()
    : BasicMetric({"Frontend_Bound.", "Fetch_Bandwidth", "Branch Mispredicts"}, 2) {}

bool FetchBandwidth::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float /*cycles*/) {
        const float frontend = GetMetric("Frontend_Bound", data);
        const float latency = GetMetric("Frontend_Bound.Fetch_Latency", data);
        return frontend - latency;
    });
}

ITLBMisses::ITLBMisses()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.", "ITLB_Misses", "ITLB Misses"}, 3, 0.05F) {
    Add<L1ITBLMISS>();
    Add<L2ITBLMISS>();
}

bool ITLBMisses::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float lookups = GetEvent("L2I_TLB", data);
        const float refills = GetEvent("L2I_TLB_REFILL", data);
        return ((lookups - refills) * kFirstLevelMiss + refills * kSecondLevelMiss) / cycles;
    });
}

L1ITBLMISS::L1ITBLMISS()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.ITLB_Misses.", "L1_ITBL_MISS", "L1_ITBL_MISS"}, 4,
                  0.1F) {}

bool L1ITBLMISS::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float lookups = GetEvent("L2I_TLB", data);
        const float refills = GetEvent("L2I_TLB_REFILL", data);
        return (lookups - refills) * kFirstLevelMiss / cycles;
    });
}

L2ITBLMISS::L2ITBLMISS()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.ITLB_Misses.", "L2_ITBL_MISS", "L2_ITBL_MISS"}, 4,
                  0.1F) {}

bool L2ITBLMISS::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("L2I_TLB_REFILL", data) * kSecondLevelMiss / cycles;
    });
}

ICacheMisses::ICacheMisses()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.", "ICache_Misses", "ICache Misses"}, 3, 0.05F) {
    Add<L1ICacheMISS>();
    Add<L2ICacheMISS>();
}

bool ICacheMisses::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float accesses = GetEvent("L2I_CACHE", data);
        const float refills = GetEvent("L2I_CACHE_REFILL", data);
        return ((accesses - refills) * kFirstLevelMiss + refills * kSecondLevelMiss) / cycles;
    });
}

L1ICacheMISS::L1ICacheMISS()
    : BasicMetric(
          {"Frontend_Bound.Fetch_Latency.ICache_Misses.", "L1_ICache_MISS", "L1_ICache_MISS"}, 4,
          0.1F) {}

bool L1ICacheMISS::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        const float accesses = GetEvent("L2I_CACHE", data);
        const float refills = GetEvent("L2I_CACHE_REFILL", data);
        return (accesses - refills) * kFirstLevelMiss / cycles;
    });
}

L2ICacheMISS::L2ICacheMISS()
    : BasicMetric(
          {"Frontend_Bound.Fetch_Latency.ICache_Misses.", "L2_ICache_MISS", "L2_ICache_MISS"}, 4,
          0.1F) {}

bool L2ICacheMISS::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("L2I_CACHE_REFILL", data) * kSecondLevelMiss / cycles;
    });
}

BPMispFlush::BPMispFlush()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.", "BP_Misp_Flush", "BP Misp Flush"}, 3, 0.05F) {}

bool BPMispFlush::Compute(TopdownData& data) {
    return ComputeBy(
        data, [&data](float cycles) { return GetEvent("BR_MIS_PRED", data) * kFlush / cycles; });
}

OOOFlush::OOOFlush()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.", "OOO_Flush", "OOO Flush"}, 3, 0.05F) {}

bool OOOFlush::Compute(TopdownData& data) {
    return ComputeBy(
        data, [&data](float cycles) { return GetEvent("ooo_flush_r4", data) * kFlush / cycles; });
}

SPFlush::SPFlush()
    : BasicMetric({"Frontend_Bound.Fetch_Latency.", "SP_Flush", "SP Flush"}, 3, 0.05F) {}

bool SPFlush::Compute(TopdownData& data) {
    return ComputeBy(data, [&data](float cycles) {
        return GetEvent("IF_BP_PRED_BR_SP", data) * kFlush / cycles;
    });
}

}  // namespace zarn
