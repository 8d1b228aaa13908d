#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <vector>

#include "board/model/sched_model.h"
#include "board/model/sched_recording.h"

namespace zarn::board {

// A delay that the recorder has noted.
struct RecordedDelay {
    SchedDelay delay;
    std::uint32_t before = SchedEvent::kIdleTask;  // who had the core until the task came
    SwitchReason left = SwitchReason::kPreempted;  // why the task had left its core
};

// All that was noted of a task.
struct RecordedSum {
    std::uint64_t delays = 0;
    std::uint64_t greatestUs = 0;
    std::uint64_t totalUs = 0;
};

// What the recorder knows.
struct RecorderNotes {
    std::deque<RecordedDelay> last;  // the last delays, the oldest first
    std::vector<RecordedSum> sums;   // by the index of the task
};

// The board's recorder of long delays: notes each that ends while it is armed and is longer than
// the threshold, in its whole length. What was noted stays when it is disarmed or armed anew.
class SchedRecorder {
public:
    static constexpr std::size_t kMostKept = 10000;

    // Begins at the board's start.
    SchedRecorder(const SchedPlan& plan, std::uint64_t seed);

    // Lets the time pass up to a moment, which may not lie before the last one. What the recording
    // says of the time before that must stay as it was.
    void Advance(std::uint64_t untilUs, const SchedRecording& recording);

    [[nodiscard]] const RecorderNotes& Notes() const { return notes_; }

private:
    void Take(const SchedEvent& event, const SchedRecording& recording);
    void Note(const RecordedDelay& noted);

    SchedSimulation simulation_;
    DelayWatch watch_;
    std::array<SwitchReason, kMaxSchedTasks> left_{};  // why each task last left its core
    RecorderNotes notes_;
};

}  // namespace zarn::board
