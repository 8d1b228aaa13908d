#include "board/state/observation.h"

#include <algorithm>
#include <cmath>

namespace zarn::board {
namespace {

constexpr std::uint64_t kUsageStream = 3;
// Share by which the cores of the AI block differ from one another and from moment to moment.
constexpr double kCoreSwing = 0.1;

// Index of the partition in which a master stands.
std::size_t PartitionOf(const BoardState& state, std::size_t master) {
    const std::uint32_t number = kMasters[master].number;
    if (number == kNoMasterNumber) {
        return master;
    }
    return IndexOfPartition(state.masters[number].mpamid).value_or(master);
}

// How busy an engine is: `load` when its master gets its base demand, less or more as it gets less
// or more.
double EngineUsage(const BoardState& state, std::size_t master, double load, std::uint64_t timeMs) {
    const double base = state.scenario.demands[master].base;
    if (base <= 0.0) {
        return 0.0;
    }
    const double own = DemandAt(state.scenario.demands[master], state.seed, master, timeMs);
    return load * own * ServedShare(state, Observe(state, timeMs), master) / base;
}

double ToPercent(double value) {
    return std::clamp(std::round(value), 0.0, 100.0);
}

}  // namespace

PerMaster<PartitionSetting> SettingsOf(const BoardState& state) {
    PerMaster<PartitionSetting> settings{};
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        const PartitionBounds& bounds = state.partitions[kMasters[i].mpamid];
        settings[i] = {bounds.low, bounds.high, bounds.hardlimit, 0};
    }
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        const std::uint32_t number = kMasters[i].number;
        const std::uint32_t priority =
            number == kNoMasterNumber ? state.scenario.cpuPriority : state.masters[number].priority;
        std::uint32_t& ofPartition = settings[PartitionOf(state, i)].priority;
        ofPartition = std::max(ofPartition, priority);
    }
    return settings;
}

PerMaster<double> DemandsOf(const BoardState& state, std::uint64_t timeMs) {
    PerMaster<double> demands{};
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        demands[PartitionOf(state, i)] +=
            DemandAt(state.scenario.demands[i], state.seed, i, timeMs);
    }
    return demands;
}

MemoryMoment Observe(const BoardState& state, std::uint64_t timeMs) {
    MemoryMoment moment;
    moment.demands = DemandsOf(state, timeMs);
    moment.grants = ShareBandwidth(moment.demands, SettingsOf(state));
    return moment;
}

double ServedShare(const BoardState& state, const MemoryMoment& moment, std::size_t master) {
    const std::size_t partition = PartitionOf(state, master);
    const double wanted = moment.demands[partition];
    return wanted > 0.0 ? moment.grants[partition] / wanted : 1.0;
}

void AiCoreUsage(const BoardState& state, std::uint64_t timeMs, std::uint8_t* usage,
                 std::size_t cores) {
    const double block = EngineUsage(state, kAicDat, state.scenario.load.aic, timeMs);
    for (std::size_t core = 0; core < cores; ++core) {
        const double swing = SwingOf(state.seed, kUsageStream, core, timeMs / kTickMs);
        const std::uint8_t code = state.scenario.aiCoreCodes[core];
        usage[core] =
            code != 0 ? code
                      : static_cast<std::uint8_t>(ToPercent(block * (1.0 + kCoreSwing * swing)));
    }
}

std::uint32_t ImageEngineUsage(const BoardState& state, std::size_t master, std::uint64_t timeMs) {
    const EngineLoad& load = state.scenario.load;
    const double full = master == kImgpVdec ? load.vdec : master == kImgpVpc ? load.vpc : load.venc;
    return static_cast<std::uint32_t>(ToPercent(EngineUsage(state, master, full, timeMs)));
}

}  // namespace zarn::board
