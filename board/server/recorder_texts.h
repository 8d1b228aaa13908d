#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "board/model/sched_recorder.h"
#include "board/state/board_state.h"

// What the files of the recorder in /proc/perf take and give. Pure functions.
namespace zarn::board {

// What was written to the files that set the recorder.
struct RecorderSettings {
    std::optional<std::uint64_t> thresholdNs;  // nothing while it is not armed
    std::size_t threads = 0;                   // how many the table has at most
    std::size_t delays = 0;                    // how many the log and the stacks have at most
};

// By the texts of sched_ctrl, sched_threshold and sched_record_size. What is no number counts as 0,
// a control word of 0 disarms, any other arms.
[[nodiscard]] RecorderSettings ReadRecorderSettings(const std::string& control,
                                                    const std::string& threshold,
                                                    const std::string& sizes);

// What the texts tell of.
struct RecorderView {
    const BoardState& state;
    const RecorderNotes& notes;
    const RecorderSettings& settings;
};

// The last delays, a line each: the moment at which the task came to its core, by the machine's
// uptime.
[[nodiscard]] std::string SchedLogText(const RecorderView& view);
// The threads that were delayed, the longest delay first.
[[nodiscard]] std::string SchedTableText(const RecorderView& view);
// Where in the kernel the tasks of the log had left their cores.
[[nodiscard]] std::string SchedStacksText(const RecorderView& view);

// For the board's status: a line of the scheduler, when whose time began by the machine's uptime,
// and one of the recorder.
[[nodiscard]] std::string SchedStatusText(const BoardState& state);

}  // namespace zarn::board
