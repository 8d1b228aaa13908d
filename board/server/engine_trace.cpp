#include "board/server/engine_trace.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "board/state/observation.h"
#include "foundation/numbers.h"

namespace zarn::board {
namespace {

constexpr std::size_t kTicksPerSecond = 1000 / kTickMs;
constexpr std::uint32_t kUsPerPercent = kTickMs * 1000 / 100;  // of a tick

// What goes in and comes out of decoder and encoder, as their files in /proc/umap tell.
constexpr std::string_view kDecoderSizes = "1280*720,1280*720";
constexpr std::string_view kEncoderSizes = "1920*1080,1920*1080";

// Seconds and nanoseconds.
std::string TimeText(std::uint64_t timeMs) {
    const std::string ms = std::to_string(timeMs % 1000);
    return std::to_string(timeMs / 1000) + " " + std::string(3 - ms.size(), '0') + ms + "000000";
}

std::string MeanUs(double percent) {
    return std::to_string(std::lround(percent * kUsPerPercent));
}

}  // namespace

void EngineTrace::TakeUntil(const BoardState& state, std::uint64_t timeMs) {
    const std::uint64_t last = timeMs / kTickMs;
    if (ticks_.empty()) {
        firstTick_ = last;
    }
    for (std::uint64_t tick = firstTick_ + ticks_.size(); tick <= last; ++tick) {
        Tick usage{};
        usage[kVdec] = ImageEngineUsage(state, kImgpVdec, tick * kTickMs);
        usage[kVpc] = ImageEngineUsage(state, kImgpVpc, tick * kTickMs);
        usage[kVenc] = ImageEngineUsage(state, kImgpVenc, tick * kTickMs);
        ticks_.push_back(usage);
    }
}

std::vector<EngineTrace::Second> EngineTrace::SecondsOf(Engine engine) const {
    std::vector<Second> seconds;
    for (std::size_t begin = 0; begin < ticks_.size(); begin += kTicksPerSecond) {
        const std::size_t end = std::min(begin + kTicksPerSecond, ticks_.size());
        const std::uint32_t first = ticks_[begin][engine];
        Second second{(firstTick_ + begin) * kTickMs, first, first, 0.0};
        for (std::size_t tick = begin; tick < end; ++tick) {
            const std::uint32_t usage = ticks_[tick][engine];
            second.greatest = std::max(second.greatest, usage);
            second.least = std::min(second.least, usage);
            second.mean += usage;
        }
        second.mean /= static_cast<double>(end - begin);
        seconds.push_back(second);
    }
    return seconds;
}

std::string EngineTrace::DataSlice() const {
    std::string text = "Channel,In W*H,Out W*H,TimeStamp,Cost(us,Max Min Ave)\n";
    const std::vector<Second> decoder = SecondsOf(kVdec);
    const std::vector<Second> encoder = SecondsOf(kVenc);
    const auto append = [&text](int channel, std::string_view sizes, const Second& second) {
        text += std::to_string(channel) + ",";
        text += sizes;
        text += "," + TimeText(second.timeMs) + "," +
                std::to_string(second.greatest * kUsPerPercent) + " " +
                std::to_string(second.least * kUsPerPercent) + " " + MeanUs(second.mean) + "\n";
    };
    for (std::size_t i = 0; i < decoder.size(); ++i) {
        append(0, kDecoderSizes, decoder[i]);
        append(1, kEncoderSizes, encoder[i]);
    }
    return text;
}

std::string EngineTrace::VpcSlice() const {
    std::string text = "Core,TimeStamp,Utilization(%),Time(us,avg:min:max)\n";
    for (const Second& second : SecondsOf(kVpc)) {
        text += "0," + TimeText(second.timeMs) + ",";
        AppendNumber(text, second.mean);
        text += "," + MeanUs(second.mean) + ":" + std::to_string(second.least * kUsPerPercent) +
                ":" + std::to_string(second.greatest * kUsPerPercent) + "\n";
    }
    return text;
}

}  // namespace zarn::board
