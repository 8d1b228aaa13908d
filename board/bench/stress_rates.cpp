#include "board/bench/stress_rates.h"

#include <algorithm>

namespace zarn::board {
namespace {

constexpr std::uint64_t kBenchStream = 4;
constexpr std::size_t kCpu = 0;
constexpr std::array<std::size_t, 3> kCameraMasters = {7, 8, 9};

double ServedCamera(const BoardState& state, const MemoryMoment& moment) {
    double served = 1.0;
    for (const std::size_t master : kCameraMasters) {
        served = std::min(served, ServedShare(state, moment, master));
    }
    return served;
}

}  // namespace

StressRates RatesOf(const BoardState& state, const BenchSettings& settings,
                    const MemoryMoment& moment) {
    // In the order of Stress; the camera is as fast as the slowest part of its path.
    const std::array<double, kStressCount> served = {
        ServedShare(state, moment, kAicDat), ServedShare(state, moment, kCpu),
        ServedShare(state, moment, kImgpVenc), ServedShare(state, moment, kImgpVpc),
        ServedCamera(state, moment)};
    StressRates rates{};
    for (std::size_t i = 0; i < kStressCount; ++i) {
        const StressSpeed& speed = settings.speeds[i];
        rates[i] = speed.fps * std::min(1.0, served[i] / speed.need);
    }
    return rates;
}

StressRates RatesAt(const BoardState& state, const BenchSettings& settings, std::uint32_t period) {
    return RatesOf(state, settings, Observe(state, std::uint64_t{period} * settings.periodMs));
}

StressRates MeasuredRates(const BoardState& state, const BenchSettings& settings, std::uint32_t run,
                          std::uint32_t period) {
    StressRates rates = RatesAt(state, settings, period);
    const std::uint64_t seed = HashOf(state.seed, kBenchStream, settings.seed, run);
    for (std::size_t i = 0; i < kStressCount; ++i) {
        rates[i] *= 1.0 + settings.noise * SwingOf(seed, kBenchStream, i, period);
    }
    return rates;
}

std::string HeadLines(const BenchSettings& settings, std::uint32_t run) {
    return "stress_benchmark of the virtual board\n"
           "run " +
           std::to_string(run) + ", " + std::to_string(settings.periods) +
           " periods\n"
           "stresses: aic cpu imgpVenc imgpVpc isp\n"
           "start\n";
}

std::string ResultLine(const StressRates& rates) {
    const auto text = [&rates](Stress stress) {
        return "Stress : " + std::to_string(rates[stress]) + " fps.";
    };
    return "aic" + text(kAicStress) + " cpu" + text(kCpuStress) + " imgpVenc" + text(kVencStress) +
           " imgpVpc" + text(kVpcStress) + " isp" + text(kIspStress) + "\n";
}

}  // namespace zarn::board
