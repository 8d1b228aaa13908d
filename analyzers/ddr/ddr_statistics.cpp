#include "analyzers/ddr/ddr_statistics.h"

#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/time.h"

namespace zarn {
namespace {

constexpr double kBand = 0.1;  // of the mean, to both sides
constexpr double kPercent = 100.0;
constexpr std::size_t kMinuteIndex = 10;  // of MMSSmmm in a moment of 17 digits

void ComputeMeanAndBounds(DdrMasterInfo& info) {
    if (info.values.empty()) {
        return;
    }
    double sum = 0.0;
    for (const double value : info.values) {
        if (value >= info.maxBw) {
            info.maxBw = value;
        }
        if (value <= info.minBw) {
            info.minBw = value;
        }
        sum += value;
    }
    info.meanBw = sum / static_cast<double>(info.values.size());
}

// The distance of the last two peaks. It is negative across the change of an hour.
void AppendPeakInterval(DdrMasterInfo& info) {
    const std::size_t count = info.peakTimeStamps.size();
    const std::string before = info.peakTimeStamps[count - 2].substr(kMinuteIndex);
    const std::string now = info.peakTimeStamps[count - 1].substr(kMinuteIndex);
    std::uint32_t beforeSeconds = 0;
    std::uint32_t nowSeconds = 0;
    if (!TimestampToSeconds(before, beforeSeconds)) {
        PrintError("[DdrAnalyzer] Failed to load the preTime of peakInterval!");
    } else if (!TimestampToSeconds(now, nowSeconds)) {
        PrintError("[DdrAnalyzer] Failed to load the curTime of peakInterval!");
    } else {
        info.peakIntervals.push_back(static_cast<std::int32_t>(nowSeconds) -
                                     static_cast<std::int32_t>(beforeSeconds));
    }
}

void AppendPeak(DdrMasterInfo& info, std::size_t index) {
    info.peaks.push_back(info.values[index]);
    info.peakTimeStamps.push_back(info.timeStamps[index]);
    if (info.peaks.size() >= 2) {
        AppendPeakInterval(info);
    }
}

void FindExtremes(DdrMasterInfo& info) {
    const double peakBound = info.meanBw + info.meanBw * kBand;
    const double troughBound = info.meanBw + info.meanBw * -kBand;
    bool risen = false;
    bool fallen = false;
    for (std::size_t i = 1; i < info.timeStamps.size(); ++i) {
        const double previous = info.values[i - 1];
        const double current = info.values[i];
        if (current > previous) {
            risen = true;
        } else if (risen && current < previous) {
            if (previous >= peakBound) {
                AppendPeak(info, i - 1);
            }
            risen = false;
        }
        if (previous > current) {
            fallen = true;
        }
        if (previous < troughBound && previous < current && fallen) {
            info.troughs.push_back(previous);
            info.troughTimeStamps.push_back(info.timeStamps[i - 1]);
            fallen = false;
        }
    }
}

// In single precision up to the quotient; the percentage is made of the widened one.
void ComputeExcess(DdrMasterInfo& info) {
    if (info.bwHigh == 0 || info.name == kDdrTotal) {
        return;
    }
    const auto mean = static_cast<float>(info.meanBw * kDdrPeakGb / kPercent);
    const auto high = static_cast<float>(info.bwHigh);
    if (mean > high) {
        const float excess = (mean - high) / high;
        info.over = static_cast<double>(excess) * kPercent;
    }
}

}  // namespace

void AnalyzeMaster(DdrMasterInfo& info) {
    ComputeMeanAndBounds(info);
    FindExtremes(info);
    ComputeExcess(info);
}

}  // namespace zarn
