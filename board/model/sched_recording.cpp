#include "board/model/sched_recording.h"

#include <algorithm>

namespace zarn::board {

std::optional<std::uint64_t> ArmedThresholdNs(const SchedRecording& recording) {
    const SchedArming* last =
        recording.count == 0 ? nullptr : &recording.armings[recording.count - 1];
    return last == nullptr || last->untilUs != SchedArming::kGoesOn
               ? std::nullopt
               : std::optional(last->thresholdNs);
}

const SchedArming* ArmingAt(const SchedRecording& recording, std::uint64_t timeUs) {
    for (std::uint32_t i = recording.count; i > 0; --i) {
        const SchedArming& arming = recording.armings[i - 1];
        if (timeUs >= arming.fromUs) {
            return timeUs < arming.untilUs ? &arming : nullptr;
        }
    }
    return nullptr;
}

void Rearm(SchedRecording& recording, std::uint64_t timeUs,
           const std::optional<std::uint64_t>& thresholdNs) {
    if (ArmedThresholdNs(recording)) {
        recording.armings[recording.count - 1].untilUs = timeUs;
    }
    if (!thresholdNs) {
        return;
    }
    if (recording.count == kMaxArmings) {
        std::copy(recording.armings.begin() + 1, recording.armings.end(),
                  recording.armings.begin());
        --recording.count;
    }
    recording.armings[recording.count] = {timeUs, SchedArming::kGoesOn, *thresholdNs};
    ++recording.count;
}

}  // namespace zarn::board
