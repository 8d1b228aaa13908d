#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "board/state/board_state.h"

namespace zarn::board {

// The processes of the board's programs and the files about their memory. The processes end with
// the object, and with this process.
class RunningPrograms {
public:
    RunningPrograms() = default;
    RunningPrograms(const RunningPrograms&) = delete;
    RunningPrograms& operator=(const RunningPrograms&) = delete;
    ~RunningPrograms();

    // Starts them and waits until each has the memory of its plan. Those that work keep their
    // accounts in the state's file `path`. False if one cannot be started.
    [[nodiscard]] bool Start(const BoardState& state, const std::string& path);

    // Lays the memory files below `files`: the share pool, the groups of those who own buffers, and
    // the system's memory if the scenario settles it.
    [[nodiscard]] bool LayFiles(const BoardState& state, const std::string& files);

    // Their processes, by the index of the program.
    [[nodiscard]] const std::vector<pid_t>& Pids() const { return pids_; }

    // Tells the state which processes they are.
    void TellProcesses(BoardState& state) const;

    // Writes them anew for a moment, those that change.
    [[nodiscard]] bool WriteFiles(const BoardState& state, std::uint64_t timeMs);

private:
    [[nodiscard]] bool WriteBufferGroups(const BufferPools& pools);
    [[nodiscard]] bool Write(const std::string& name, const std::string& text);

    std::vector<pid_t> pids_;
    std::string files_;
    std::map<std::string, std::string> written_;  // by the name below files_
};

// Puts a file in the place of another in one step, so that a reader never sees a part of it.
[[nodiscard]] bool ReplaceFile(const std::string& path, const std::string& text);

}  // namespace zarn::board
