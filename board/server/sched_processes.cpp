#include "board/server/sched_processes.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>

#include "board/program/sched_order.h"
#include "board/server/ordered_child.h"

namespace zarn::board {
namespace {

constexpr const char* kProgram = "zarn-board-waiting";

SchedOrder OrderFor(const SchedPlan& plan, const SchedProcess& process) {
    SchedOrder order;
    order.server = ::getpid();
    order.cores = plan.cores;
    order.count = process.taskCount;
    std::copy_n(plan.tasks.begin() + process.firstTask, process.taskCount, order.threads.begin());
    return order;
}

// The tids that a process tells; fewer if it ends instead.
std::vector<pid_t> ReadTids(int answers, std::size_t count) {
    std::vector<std::int32_t> tids(count);
    std::size_t size = 0;
    for (ssize_t got = 1; got > 0 && size < count * sizeof(tids[0]);) {
        got = ::read(answers, reinterpret_cast<char*>(tids.data()) + size,
                     count * sizeof(tids[0]) - size);
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    tids.resize(size / sizeof(tids[0]));
    return {tids.begin(), tids.end()};
}

}  // namespace

SchedProcesses::~SchedProcesses() {
    for (const pid_t pid : pids_) {
        EndChild(pid);
    }
}

bool SchedProcesses::Start(const SchedPlan& plan) {
    for (std::uint32_t i = 0; i < plan.processCount; ++i) {
        if (!StartProcess(plan, plan.processes[i])) {
            return false;
        }
    }
    return true;
}

bool SchedProcesses::StartProcess(const SchedPlan& plan, const SchedProcess& process) {
    const SchedOrder order = OrderFor(plan, process);
    const auto child =
        StartOrdered(InnerProgramPath(kProgram), process.name.data(), {&order, sizeof(order)});
    if (!child) {
        return false;
    }
    pids_.push_back(child->pid);
    const std::vector<pid_t> tids = ReadTids(child->answers, process.taskCount);
    ::close(child->answers);
    tids_.insert(tids_.end(), tids.begin(), tids.end());
    return tids.size() == process.taskCount;
}

void SchedProcesses::TellThreads(BoardState& state) const {
    state.schedTids.fill(0);
    std::copy(tids_.begin(), tids_.end(), state.schedTids.begin());
}

}  // namespace zarn::board
