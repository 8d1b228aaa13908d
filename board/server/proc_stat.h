#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "board/model/core_times.h"
#include "board/state/board_state.h"

// /proc/stat of a board whose scenario says what its cores run.
namespace zarn::board {

// The counts of the cores, and all else as `last` has it, the machine's text or one made before:
// but for how often tasks came to a core, and how many run. Every number that moves has a width of
// its own, so that each text made of one has the same length, with the same lines at the same
// places.
[[nodiscard]] std::string ProcStatText(std::string_view last, const CoreTimes& times);

// Lays the file below `files`, the folder of the board's kernel files, as it is at the board's
// start. False if it cannot be written.
[[nodiscard]] bool LayProcStat(const BoardState& state, const std::string& files);

// Keeps that file at the model's counts of the last tick of the clock, if the scenario has cores.
// Who holds it open sees it move: it is the same file all along, written over in one piece.
class ProcStat {
public:
    ProcStat(const BoardState& state, const std::string& files);
    ProcStat(const ProcStat&) = delete;
    ProcStat& operator=(const ProcStat&) = delete;
    ~ProcStat();

    // Readable at each tick of the clock; -1 if there is nothing to do.
    [[nodiscard]] int Wakes() const { return clock_; }
    // Writes what a tick has changed; call it then.
    void Answer();
    // Writes what there is to write. False if it cannot be.
    [[nodiscard]] bool Refresh();

private:
    const BoardState& state_;
    const bool isThere_;
    CoreTimes times_;
    int file_ = -1;
    int clock_ = -1;
    std::string text_;  // as it was written last
};

}  // namespace zarn::board
