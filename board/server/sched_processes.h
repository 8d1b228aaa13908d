#pragma once

#include <sys/types.h>

#include <vector>

#include "board/state/board_state.h"

namespace zarn::board {

// The processes of the scheduler's plan as real ones: they are called, threaded and set up as the
// plan has them and wait. They end with the object, and with this process.
class SchedProcesses {
public:
    SchedProcesses() = default;
    SchedProcesses(const SchedProcesses&) = delete;
    SchedProcesses& operator=(const SchedProcesses&) = delete;
    ~SchedProcesses();

    // Starts them and waits until all their threads are set up. False if one cannot be started.
    [[nodiscard]] bool Start(const SchedPlan& plan);

    // Tells the state which threads they are.
    void TellThreads(BoardState& state) const;

private:
    [[nodiscard]] bool StartProcess(const SchedPlan& plan, const SchedProcess& process);

    std::vector<pid_t> pids_;
    std::vector<pid_t> tids_;  // by the index of the task
};

}  // namespace zarn::board
