#include "board/model/sharing.h"

#include <algorithm>
#include <numeric>

namespace zarn::board {
namespace {

// Bounds of one partition in MB/s.
struct Bounds {
    double low = 0.0;
    double high = kPeakMb;
    bool hard = false;
};

Bounds BoundsOf(const PartitionSetting& setting) {
    Bounds bounds;
    if (setting.high == kUnsetHigh) {
        return bounds;
    }
    bounds.high = std::min(setting.high, kPeakGb) * kMbPerGb;
    bounds.low = std::min(std::min(setting.low, kPeakGb) * kMbPerGb, bounds.high);
    bounds.hard = setting.hardlimit != 0;
    return bounds;
}

double SumOf(const PerMaster<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

// Hands `rest` out: each gets in proportion to weight * claim, none more than its claim; what
// somebody leaves is shared again by the others. Returns what nobody claimed.
double HandOut(double rest, PerMaster<double> claims, const PerMaster<double>& weights,
               PerMaster<double>& grants) {
    PerMaster<double> shares{};
    for (std::size_t round = 0; round < kMasterCount && rest > 0.0; ++round) {
        for (std::size_t i = 0; i < kMasterCount; ++i) {
            shares[i] = weights[i] * claims[i];
        }
        const double total = SumOf(shares);
        if (total <= 0.0) {
            break;
        }
        bool someoneIsServed = false;
        const double unit = rest / total;
        for (std::size_t i = 0; i < kMasterCount; ++i) {
            if (claims[i] > 0.0 && shares[i] * unit >= claims[i]) {
                grants[i] += claims[i];
                rest -= claims[i];
                claims[i] = 0.0;
                someoneIsServed = true;
            }
        }
        if (!someoneIsServed) {
            for (std::size_t i = 0; i < kMasterCount; ++i) {
                grants[i] += shares[i] * unit;
            }
            return 0.0;
        }
    }
    return std::max(rest, 0.0);
}

}  // namespace

PerMaster<double> ShareBandwidth(const PerMaster<double>& demands,
                                 const PerMaster<PartitionSetting>& settings) {
    PerMaster<Bounds> bounds{};
    PerMaster<double> weights{};
    PerMaster<double> grants{};
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        bounds[i] = BoundsOf(settings[i]);
        weights[i] = 1.0 + std::min(settings[i].priority, kMaxPriority);
        grants[i] = std::min(demands[i], bounds[i].low);
    }
    const double reserved = SumOf(grants);
    if (reserved > kPeakMb) {
        for (double& grant : grants) {
            grant *= kPeakMb / reserved;
        }
        return grants;
    }
    PerMaster<double> claims{};
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        claims[i] = std::max(std::min(demands[i], bounds[i].high) - grants[i], 0.0);
    }
    const double rest = HandOut(kPeakMb - reserved, claims, weights, grants);
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        claims[i] = bounds[i].hard ? 0.0 : std::max(demands[i] - grants[i], 0.0);
    }
    HandOut(rest, claims, weights, grants);
    return grants;
}

}  // namespace zarn::board
