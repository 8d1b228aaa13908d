#include "board/bench/best_bounds.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "board/state/observation.h"

namespace zarn::board {
namespace {

struct Pair {
    std::uint32_t low;
    std::uint32_t high;
};

// What a run meets in each period; only the settings change between the tries.
using Demands = std::vector<PerMaster<double>>;

Demands DemandsOfRun(const BoardState& state, const BenchSettings& settings) {
    Demands demands(settings.periods);
    for (std::uint32_t period = 0; period < settings.periods; ++period) {
        demands[period] = DemandsOf(state, std::uint64_t{period} * settings.periodMs);
    }
    return demands;
}

// The pairs that can differ in effect for a partition that asks for at most `most` MB/s.
std::vector<Pair> PairsOf(double most, std::uint32_t step) {
    const auto enough = static_cast<std::uint32_t>(std::ceil(most / kMbPerGb));
    std::vector<std::uint32_t> values;
    for (std::uint32_t value = 0; value <= kPeakGb; value += step) {
        values.push_back(value);
        if (value >= enough) {
            break;
        }
    }
    std::vector<Pair> pairs;
    for (const std::uint32_t low : values) {
        for (const std::uint32_t high : values) {
            if (low <= high) {
                pairs.push_back({low, high});
            }
        }
    }
    // The CPU is helped by high bounds: good ones first, so that the others are given up early.
    std::reverse(pairs.begin(), pairs.end());
    return pairs;
}

// Rates of a run that is given up as soon as it cannot be of use any more.
class Trial {
public:
    Trial(const BoardState& state, const BenchSettings& settings, const BenchLimits& limits)
        : state_(state),
          settings_(settings),
          limits_(limits),
          demands_(DemandsOfRun(state, settings)),
          partitions_(SettingsOf(state)),
          before_(RatesOfRun(state, settings)) {}

    // Tries the settings; true if they keep the limits and beat the CPU rate `least`.
    bool Beats(const std::array<Pair, kSearchedCount>& pairs, double least, RunRates& rates) {
        for (std::size_t i = 0; i < kSearchedCount; ++i) {
            PartitionSetting& partition = partitions_[kSearched[i]];
            partition.low = pairs[i].low;
            partition.high = pairs[i].high;
            partition.hardlimit = 0;
        }
        StressRates sums{};
        rates.leastCamera = settings_.speeds[kIspStress].fps;
        const auto count = static_cast<double>(demands_.size());
        for (std::size_t period = 0; period < demands_.size(); ++period) {
            const MemoryMoment moment{demands_[period],
                                      ShareBandwidth(demands_[period], partitions_)};
            const StressRates one = RatesOf(state_, settings_, moment);
            for (std::size_t i = 0; i < kStressCount; ++i) {
                sums[i] += one[i];
            }
            rates.leastCamera = std::min(rates.leastCamera, one[kIspStress]);
            const double left = count - 1.0 - static_cast<double>(period);
            if (rates.leastCamera <= limits_.cameraFloor || Lags(sums, left, count, least)) {
                return false;
            }
        }
        for (std::size_t i = 0; i < kStressCount; ++i) {
            rates.mean[i] = sums[i] / count;
        }
        return rates.mean[kCpuStress] > least && KeepsLimits(rates, before_, limits_);
    }

private:
    // Whether full speed in the `left` periods could no longer make up for the sums so far.
    [[nodiscard]] bool Lags(const StressRates& sums, double left, double count,
                            double least) const {
        const auto reachable = [&](Stress stress) {
            return (sums[stress] + left * settings_.speeds[stress].fps) / count;
        };
        const double share = 1.0 - limits_.worseRate;
        constexpr double kRounding = 1e-9;
        return reachable(kCpuStress) < least ||
               reachable(kAicStress) < before_.mean[kAicStress] * share - kRounding ||
               reachable(kVpcStress) < before_.mean[kVpcStress] * share - kRounding;
    }

    const BoardState& state_;
    const BenchSettings& settings_;
    const BenchLimits& limits_;
    Demands demands_;
    PerMaster<PartitionSetting> partitions_;
    RunRates before_;
};

}  // namespace

RunRates RatesOfRun(const BoardState& state, const BenchSettings& settings) {
    RunRates run;
    run.leastCamera = settings.speeds[kIspStress].fps;
    for (std::uint32_t period = 0; period < settings.periods; ++period) {
        const StressRates rates = RatesAt(state, settings, period);
        for (std::size_t i = 0; i < kStressCount; ++i) {
            run.mean[i] += rates[i] / settings.periods;
        }
        run.leastCamera = std::min(run.leastCamera, rates[kIspStress]);
    }
    return run;
}

void SetBounds(BoardState& state, const SearchedBounds& bounds) {
    for (std::size_t i = 0; i < kSearchedCount; ++i) {
        state.partitions[kMasters[kSearched[i]].mpamid] = {bounds.low[i], bounds.high[i], 0};
    }
}

bool KeepsLimits(const RunRates& rates, const RunRates& before, const BenchLimits& limits) {
    const double share = 1.0 - limits.worseRate;
    return rates.mean[kAicStress] >= before.mean[kAicStress] * share &&
           rates.mean[kVpcStress] >= before.mean[kVpcStress] * share &&
           rates.leastCamera > limits.cameraFloor;
}

BestBounds FindBestBounds(const BoardState& state, const BenchSettings& settings,
                          const BenchLimits& limits, std::uint32_t step) {
    std::array<std::vector<Pair>, kSearchedCount> pairs;
    const Demands demands = DemandsOfRun(state, settings);
    for (std::size_t i = 0; i < kSearchedCount; ++i) {
        double most = 0.0;
        for (const auto& demand : demands) {
            most = std::max(most, demand[kSearched[i]]);
        }
        pairs[i] = PairsOf(most, step);
    }
    BestBounds best;
    Trial trial(state, settings, limits);
    RunRates rates;
    for (const Pair& cpu : pairs[1]) {
        for (const Pair& aic : pairs[0]) {
            for (const Pair& image : pairs[2]) {
                ++best.tried;
                const double least = best.found ? best.rates.mean[kCpuStress] : -1.0;
                if (trial.Beats({aic, cpu, image}, least, rates)) {
                    best.found = true;
                    best.rates = rates;
                    best.bounds = {{aic.low, cpu.low, image.low}, {aic.high, cpu.high, image.high}};
                }
            }
        }
    }
    return best;
}

}  // namespace zarn::board
