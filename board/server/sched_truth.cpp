#include "board/server/sched_truth.h"

#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

#include "board/state/sched_tasks.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kNsPerUs = 1000;
constexpr double kUsPerMs = 1e3;
constexpr double kUsPerS = 1e6;
constexpr double kNsPerMs = 1e6;

// Adds up what the running tasks do between the events.
class RunTimes {
public:
    RunTimes(std::array<TaskTruth, kMaxSchedTasks>& truth, std::vector<std::uint32_t> running,
             std::uint64_t fromUs)
        : truth_(truth), running_(std::move(running)), sinceUs_(running_.size(), fromUs) {}

    void Switch(std::uint32_t core, std::uint32_t to, std::uint64_t timeUs) {
        if (running_[core] != SchedEvent::kIdleTask) {
            truth_[running_[core]].runUs += timeUs - sinceUs_[core];
        }
        running_[core] = to;
        sinceUs_[core] = timeUs;
    }

private:
    std::array<TaskTruth, kMaxSchedTasks>& truth_;
    std::vector<std::uint32_t> running_;
    std::vector<std::uint64_t> sinceUs_;
};

void AddDelay(const SchedDelay& delay, TaskTruth& truth) {
    const std::uint64_t us = delay.toUs - delay.fromUs;
    truth.delayUs += us;
    if (us > truth.longest.toUs - truth.longest.fromUs) {
        truth.longest = delay;
    }
}

}  // namespace

std::array<TaskTruth, kMaxSchedTasks> SchedTruthOf(const SchedPlan& plan, std::uint64_t seed,
                                                   const SchedSpan& span) {
    std::array<TaskTruth, kMaxSchedTasks> truth{};
    RunTimes times(truth, RunningAt(plan, seed, span.fromUs), span.fromUs);
    for (const SchedEvent& event : EventsIn(plan, seed, span)) {
        if (event.kind == SchedEventKind::kSwitch) {
            times.Switch(event.core, event.task, event.timeUs);
            if (event.task != SchedEvent::kIdleTask) {
                ++truth[event.task].switches;
            }
        }
    }
    for (std::uint32_t core = 0; core < plan.cores; ++core) {
        times.Switch(core, SchedEvent::kIdleTask, span.toUs);
    }
    for (const SchedDelay& delay : DelaysIn(plan, seed, span)) {
        if (delay.fromUs >= span.fromUs) {
            AddDelay(delay, truth[delay.task]);
        }
    }
    return truth;
}

std::string SchedTruthText(const BoardState& state, const SchedSpan& span) {
    const SchedPlan& plan = state.scenario.sched;
    const auto truth = SchedTruthOf(plan, state.seed, span);
    std::ostringstream text;
    text
        << std::fixed
        << "task,pid,tid,runtime_ms,switches,delay_ms,mean_delay_ms,max_delay_ms,max_delay_start_s,"
           "max_delay_end_s\n";
    const auto stampOf = [&](std::uint64_t us) {
        return us == 0 ? 0.0 : static_cast<double>(UptimeUs(state, us)) / kUsPerS;
    };
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        const TaskTruth& task = truth[i];
        const std::uint64_t meanNs =
            task.switches == 0 ? 0 : task.delayUs * kNsPerUs / task.switches;
        const SchedDelay& longest = task.longest;
        text << plan.tasks[i].name.data() << ',' << SchedPid(state, i) << ',' << SchedTid(state, i)
             << std::setprecision(3) << ',' << static_cast<double>(task.runUs) / kUsPerMs << ','
             << task.switches << ',' << static_cast<double>(task.delayUs) / kUsPerMs << ','
             << static_cast<double>(meanNs) / kNsPerMs << ','
             << static_cast<double>(longest.toUs - longest.fromUs) / kUsPerMs
             << std::setprecision(6) << ',' << stampOf(longest.fromUs) << ','
             << stampOf(longest.toUs) << '\n';
    }
    return text.str();
}

}  // namespace zarn::board
