#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "board/launcher/installation.h"
#include "board/launcher/options.h"
#include "board/state/board_state.h"

namespace zarn::board {

// A board with its server, as the launcher holds it. The server makes the board's folder and, if it
// is for this run alone, removes it: that goes on working when the launcher is killed, since the
// server ends with the last process that holds the board's life line.
class ServedBoard {
public:
    // Starts the server and waits until the board can be used. nullptr after its line.
    [[nodiscard]] static std::optional<ServedBoard> Start(const LauncherOptions& options,
                                                          const Installation& installation,
                                                          const std::string& scenario);

    [[nodiscard]] const std::string& Folder() const { return folder_; }
    // What a process holds open while it needs the board.
    [[nodiscard]] int LifeLine() const { return life_; }
    // A folder for the time of this run, which the server removes.
    [[nodiscard]] std::string Scratch() const;

    // The server's process, -1 if another launcher has started it.
    [[nodiscard]] pid_t Server() const { return server_; }
    // Notes the end of a child if that was the server, and then takes away the table, which nobody
    // moves any more.
    void NoteEnd(pid_t child);
    // To be called at least ten times a second. Takes the table away if its figures stand still,
    // since the server hangs.
    void CheckHeartbeat();
    // Lets go of the board and waits until it is cleaned up. True if somebody's files are left in
    // it.
    [[nodiscard]] bool End();

private:
    std::string folder_;
    bool isTemporary_ = false;
    pid_t server_ = -1;
    bool serverLives_ = true;
    int life_ = -1;
    BoardState* state_ = nullptr;
    // Since when the server has been found silent, look after look.
    std::optional<std::chrono::steady_clock::time_point> suspectedAt_;
};

}  // namespace zarn::board
