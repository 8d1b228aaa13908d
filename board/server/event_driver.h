#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board/model/event_scheduler.h"
#include "board/server/leased_files.h"
#include "board/state/board_state.h"

namespace zarn::board {

// The driver of the AI CPU event scheduler: its attributes below /sys and what moves them.
class EventDriver {
public:
    // `files` is the folder of the board's kernel files, `spare` a path beside it; `pids` are those
    // of the programs. The driver starts now, which it notes in the state.
    EventDriver(BoardState& state, const std::string& files, const std::string& spare,
                std::vector<pid_t> pids);

    // Becomes readable when somebody opens an attribute, which Answer then fills.
    [[nodiscard]] int Wakes() const { return attributes_.Wakes(); }
    void Answer();

    // Lays what is missing of the attributes and lets the events of the time that has passed
    // happen.
    [[nodiscard]] bool Refresh();

private:
    void Advance();
    [[nodiscard]] std::string TextOf(const std::string& attribute) const;

    BoardState& state_;
    std::string folder_;
    std::vector<pid_t> pids_;
    EventScheduler scheduler_;
    LeasedFiles attributes_;
};

// The folder of the attributes among the kernel files.
[[nodiscard]] std::string EventFolder(const std::string& files);

// What the driver of a board knows at moments, told again from its start by the settings as they
// are now. Moments in their order cost least.
class EventReplay {
public:
    explicit EventReplay(BoardState& state);

    [[nodiscard]] std::string TextAt(std::uint64_t timeMs);

private:
    BoardState& state_;
    std::vector<pid_t> pids_;
    std::uint64_t beginUs_ = 0;
    std::optional<EventScheduler> scheduler_;
};

}  // namespace zarn::board
