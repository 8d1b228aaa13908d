#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "board/model/sched_recorder.h"
#include "board/server/leased_files.h"
#include "board/server/recorder_texts.h"
#include "board/state/board_state.h"

namespace zarn::board {

// The driver of the recorder of long delays: its files in /proc/perf and what moves them. A board
// without scheduled processes has none; there the files take and give text.
class RecorderDriver {
public:
    // `files` is the folder of the board's kernel files, `spare` a path beside it.
    RecorderDriver(BoardState& state, const std::string& files, const std::string& spare);
    RecorderDriver(const RecorderDriver&) = delete;
    RecorderDriver& operator=(const RecorderDriver&) = delete;
    ~RecorderDriver();

    // One becomes readable when somebody opens a file that gives text, the other when somebody has
    // written one that sets the recorder; -1 for none. Answer then does what there is to do.
    [[nodiscard]] std::array<int, 2> Wakes() const;
    void Answer();

    // Lays what is missing of the files and lets the time pass.
    [[nodiscard]] bool Refresh();

private:
    void LookAtSettings();
    void Advance(std::uint64_t timeUs);
    [[nodiscard]] std::string TextOf(const std::string& name);

    BoardState& state_;
    std::string folder_;
    bool isThere_;
    int written_ = -1;  // tells what was written in the folder
    RecorderSettings settings_;
    std::optional<SchedRecorder> recorder_;
    LeasedFiles files_;
};

// The folder of the recorder's files among the kernel files.
[[nodiscard]] std::string RecorderFolder(const std::string& files);

// Those of them that the driver gives text; none on a board without a recorder.
[[nodiscard]] std::vector<std::string> RecorderTexts(const BoardState& state);

// Makes the files that set the recorder as they are on a fresh board: not armed, for all delays.
[[nodiscard]] bool SetRecorderUp(const std::string& files);

}  // namespace zarn::board
