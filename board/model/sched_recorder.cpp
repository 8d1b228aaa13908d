#include "board/model/sched_recorder.h"

#include <algorithm>

namespace zarn::board {
namespace {

constexpr std::uint64_t kNsPerUs = 1000;

}  // namespace

SchedRecorder::SchedRecorder(const SchedPlan& plan, std::uint64_t seed) : simulation_(plan, seed) {
    left_.fill(SwitchReason::kSlept);
    notes_.sums.resize(plan.taskCount);
}

void SchedRecorder::Advance(std::uint64_t untilUs, const SchedRecording& recording) {
    simulation_.Advance(untilUs, [&](const SchedEvent& event) { Take(event, recording); });
}

void SchedRecorder::Take(const SchedEvent& event, const SchedRecording& recording) {
    const auto delay = watch_.Take(event);
    if (event.kind == SchedEventKind::kSwitch && event.current != SchedEvent::kIdleTask) {
        left_[event.current] = event.reason;
    }
    const SchedArming* arming = delay ? ArmingAt(recording, delay->toUs) : nullptr;
    if (arming != nullptr && (delay->toUs - delay->fromUs) * kNsPerUs > arming->thresholdNs) {
        Note({*delay, event.current, left_[delay->task]});
    }
}

void SchedRecorder::Note(const RecordedDelay& noted) {
    RecordedSum& sum = notes_.sums[noted.delay.task];
    const std::uint64_t lengthUs = noted.delay.toUs - noted.delay.fromUs;
    ++sum.delays;
    sum.totalUs += lengthUs;
    sum.greatestUs = std::max(sum.greatestUs, lengthUs);
    notes_.last.push_back(noted);
    if (notes_.last.size() > kMostKept) {
        notes_.last.pop_front();
    }
}

}  // namespace zarn::board
