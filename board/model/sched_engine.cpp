#include "board/model/sched_engine.h"

#include <algorithm>
#include <cmath>

#include "board/model/bursts.h"
#include "board/model/demand.h"

namespace zarn::board {
namespace {

// Random values of different kinds do not repeat one another.
enum Stream : std::uint64_t { kPhaseStream = 0x5C0, kWakeStream, kRunStream };

constexpr std::int64_t kUsualWeight = 1024;  // of nice 0
constexpr std::int64_t kIdleWeight = 3;
constexpr double kWeightStep = 1.25;  // from one nice value to the next
constexpr std::uint64_t kSharingSliceUs = 3000;
constexpr std::uint64_t kRoundRobinSliceUs = 100000;
constexpr std::uint64_t kRealTimeLoad = 1U << 20U;

// Served time is counted in so many parts of a microsecond at the usual weight.
constexpr std::int64_t kServedUnit = 1024;
// A task that wakes up is ahead of the others by so much, however long it has slept; and it takes
// the core of one that has been served by so much more.
constexpr std::int64_t kWakeupCredit = 3000 * kServedUnit;
constexpr std::int64_t kOvertakingStep = 1000 * kServedUnit;

std::int64_t WeightOf(const SchedTask& plan) {
    if (plan.policy == SchedPolicy::kIdle) {
        return kIdleWeight;
    }
    return std::llround(static_cast<double>(kUsualWeight) * std::pow(kWeightStep, -plan.nice));
}

// What a real-time task counts is its priority; all others count alike.
std::int64_t ImportanceOf(const SchedTask& plan) {
    return IsRealTime(plan.policy) ? std::int64_t{plan.priority} : 0;
}
constexpr std::int64_t kNoImportance = -1;  // of an idle core

std::uint64_t SliceOf(SchedPolicy policy) {
    switch (policy) {
        case SchedPolicy::kFifo:
            return 0;
        case SchedPolicy::kRoundRobin:
            return kRoundRobinSliceUs;
        default:
            return kSharingSliceUs;
    }
}

}  // namespace

SchedEngine::SchedEngine(const SchedPlan& plan, std::uint64_t seed) : plan_(plan), seed_(seed) {
    for (std::uint32_t i = 0; i < plan_.taskCount; ++i) {
        tasks_[i].core = i % plan_.cores;
        while (!MayRun(i, tasks_[i].core)) {
            tasks_[i].core = (tasks_[i].core + 1) % plan_.cores;
        }
        SetDue(i);
    }
}

void SchedEngine::Advance(std::uint64_t untilUs, const SchedSimulation::Sink& sink) {
    sink_ = &sink;
    for (std::uint64_t moment = NextMoment(); moment < untilUs; moment = NextMoment()) {
        nowUs_ = moment;
        for (std::uint32_t i = 0; i < plan_.taskCount; ++i) {
            if (tasks_[i].dueUs <= nowUs_) {
                ClockWakes(i);
            }
        }
        for (std::uint32_t core = 0; core < plan_.cores; ++core) {
            if (NextOf(core) <= nowUs_) {
                GoOn(core);
            }
        }
    }
    sink_ = nullptr;
}

bool SchedEngine::MayRun(std::uint32_t task, std::uint32_t core) const {
    return (PlanOf(task).affinity & (1U << core)) != 0;
}

std::int64_t SchedEngine::ImportanceOn(std::uint32_t core) const {
    const std::uint32_t running = cores_[core].running;
    return running == kNobody ? kNoImportance : ImportanceOf(PlanOf(running));
}

std::uint64_t SchedEngine::LoadOf(std::uint32_t core) const {
    const auto loadOf = [this](std::uint32_t task) {
        return IsRealTime(PlanOf(task).policy) ? kRealTimeLoad
                                               : static_cast<std::uint64_t>(WeightOf(PlanOf(task)));
    };
    const Core& here = cores_[core];
    std::uint64_t load = here.running == kNobody ? 0 : loadOf(here.running);
    for (const std::uint32_t task : here.queue) {
        load += loadOf(task);
    }
    return load;
}

// A real-time task goes where it may run at once, a sharing one where the load is least; both stay
// where they were if that is as good.
std::uint32_t SchedEngine::CoreFor(std::uint32_t task) const {
    const bool isRealTime = IsRealTime(PlanOf(task).policy);
    const auto worth = [&](std::uint32_t core) {
        return isRealTime ? ImportanceOn(core) : static_cast<std::int64_t>(LoadOf(core));
    };
    std::uint32_t best = tasks_[task].core;
    if (isRealTime && ImportanceOn(best) < ImportanceOf(PlanOf(task))) {
        return best;
    }
    for (std::uint32_t core = 0; core < plan_.cores; ++core) {
        if (MayRun(task, core) && worth(core) < worth(best)) {
            best = core;
        }
    }
    return isRealTime && ImportanceOn(best) >= ImportanceOf(PlanOf(task)) ? tasks_[task].core
                                                                          : best;
}

// A task that wakes up takes the core of one that shares if that is fair; no other one does.
bool SchedEngine::Overtakes(std::uint32_t task, std::uint32_t running, Arrival arrival) const {
    const SchedTask& comer = PlanOf(task);
    const SchedTask& stayer = PlanOf(running);
    if (ImportanceOf(comer) != ImportanceOf(stayer)) {
        return ImportanceOf(comer) > ImportanceOf(stayer);
    }
    if (arrival != Arrival::kWoken || comer.policy != SchedPolicy::kOther) {
        return false;
    }
    return stayer.policy == SchedPolicy::kIdle ||
           tasks_[task].served + kOvertakingStep < tasks_[running].served;
}

// The work done at which a task next takes or leaves a lock, or is at its end.
std::uint64_t SchedEngine::StopOf(const Task& task, const SchedTask& plan) const {
    if (task.use == plan.lockUseCount) {
        return task.workUs;
    }
    const LockUse& use = plan.lockUses[task.use];
    const std::uint64_t pointUs = std::uint64_t{use.afterUs} + (task.isHolding ? use.holdUs : 0);
    return std::min(task.workUs, pointUs * task.workUs / plan.runUs);
}

std::uint64_t SchedEngine::NextOf(std::uint32_t core) const {
    const Core& here = cores_[core];
    if (here.running == kNobody) {
        return kNever;
    }
    const Task& task = tasks_[here.running];
    const std::uint64_t stopUs = here.sinceUs + StopOf(task, PlanOf(here.running)) - task.doneUs;
    const bool hasRival =
        std::any_of(here.queue.begin(), here.queue.end(), [&](std::uint32_t waiting) {
            return ImportanceOf(PlanOf(waiting)) == ImportanceOf(PlanOf(here.running));
        });
    return hasRival ? std::min(stopUs, here.sliceEndUs) : stopUs;
}

std::uint64_t SchedEngine::NextMoment() const {
    std::uint64_t next = kNever;
    for (std::uint32_t i = 0; i < plan_.taskCount; ++i) {
        next = std::min(next, tasks_[i].dueUs);
    }
    for (std::uint32_t core = 0; core < plan_.cores; ++core) {
        next = std::min(next, NextOf(core));
    }
    return next == kNever ? kNever : std::max(next, nowUs_);
}

void SchedEngine::SetDue(std::uint32_t task) {
    const SchedTask& plan = PlanOf(task);
    Task& state = tasks_[task];
    if (plan.runUs == 0 || (plan.periodUs == 0 && state.wakeups > 0)) {
        state.dueUs = kNever;
        return;
    }
    const std::uint64_t period = plan.periodUs;
    const double late = plan.jitter * (SwingOf(seed_, kWakeStream, task, state.wakeups) + 1.0) / 2;
    const std::uint64_t phase = period == 0 ? 0 : HashOf(seed_, kPhaseStream, task, 0) % period;
    state.dueUs = phase + state.wakeups * period +
                  static_cast<std::uint64_t>(late * static_cast<double>(period));
}

void SchedEngine::BeginJob(std::uint32_t task) {
    const SchedTask& plan = PlanOf(task);
    Task& state = tasks_[task];
    const bool isInBurst = IsInTaskBurst(plan.burst, seed_, task, nowUs_);
    const double factor = (isInBurst ? plan.burst.factor : 1.0) *
                          (1.0 + plan.jitter * SwingOf(seed_, kRunStream, task, state.jobs));
    state.workUs = static_cast<std::uint64_t>(std::max(1LL, std::llround(plan.runUs * factor)));
    state.doneUs = 0;
    state.use = 0;
    ++state.jobs;
}

// Counts what the running task has done until now.
void SchedEngine::Count(std::uint32_t core) {
    Core& here = cores_[core];
    const std::uint64_t doneUs = nowUs_ - here.sinceUs;
    here.sinceUs = nowUs_;
    if (here.running == kNobody) {
        return;
    }
    Task& task = tasks_[here.running];
    task.doneUs += doneUs;
    if (ImportanceOf(PlanOf(here.running)) > 0) {
        return;
    }
    task.served += static_cast<std::int64_t>(doneUs) * kServedUnit * kUsualWeight /
                   WeightOf(PlanOf(here.running));
    std::int64_t least = task.served;
    for (const std::uint32_t waiting : here.queue) {
        least = std::min(least, tasks_[waiting].served);
    }
    here.leastServed = std::max(here.leastServed, least);
}

// A task that is still at its former work, or waits to be, leaves a wake-up out.
void SchedEngine::ClockWakes(std::uint32_t task) {
    Task& state = tasks_[task];
    ++state.wakeups;
    SetDue(task);
    if (state.state == State::kAsleep) {
        BeginJob(task);
        Wake(task, state.core);
    }
}

void SchedEngine::Wake(std::uint32_t task, std::uint32_t byCore) {
    Task& state = tasks_[task];
    const std::uint32_t to = CoreFor(task);
    SchedEvent event;
    event.kind = SchedEventKind::kWakeup;
    event.core = byCore;
    event.current = cores_[byCore].running;
    event.task = task;
    event.toCore = to;
    Tell(event);
    state.state = State::kReady;
    state.turn = nextTurn_++;
    MoveTo(task, to, byCore);
    state.served = std::max(state.served, cores_[to].leastServed - kWakeupCredit);
    Place(task, Arrival::kWoken);
}

// Takes a task that is in no queue to a core; what is heard of it is heard on `byCore`.
void SchedEngine::MoveTo(std::uint32_t task, std::uint32_t core, std::uint32_t byCore) {
    Task& state = tasks_[task];
    if (state.core == core) {
        return;
    }
    SchedEvent event;
    event.kind = SchedEventKind::kMigrate;
    event.core = byCore;
    event.current = cores_[byCore].running;
    event.task = task;
    event.fromCore = state.core;
    event.toCore = core;
    Tell(event);
    state.served += cores_[core].leastServed - cores_[state.core].leastServed;
    state.core = core;
}

// A task that is ready, and in no queue, gets its core or a place in its queue.
void SchedEngine::Place(std::uint32_t task, Arrival arrival) {
    const std::uint32_t core = tasks_[task].core;
    Count(core);
    const std::uint32_t former = cores_[core].running;
    if (former == kNobody) {
        SwitchTo(core, task, SwitchReason::kPreempted);
        return;
    }
    if (!Overtakes(task, former, arrival)) {
        cores_[core].queue.push_back(task);
        return;
    }
    SwitchTo(core, task, SwitchReason::kPreempted);
    tasks_[former].state = State::kReady;
    tasks_[former].turn = --frontTurn_;
    MoveTo(former, CoreFor(former), core);
    Place(former, Arrival::kDisplaced);
}

void SchedEngine::GoOn(std::uint32_t core) {
    Count(core);
    const std::uint32_t running = cores_[core].running;
    if (tasks_[running].doneUs >= StopOf(tasks_[running], PlanOf(running))) {
        ReachStop(core);
    } else {
        EndSlice(core);
    }
}

void SchedEngine::ReachStop(std::uint32_t core) {
    const std::uint32_t running = cores_[core].running;
    Task& task = tasks_[running];
    const SchedTask& plan = PlanOf(running);
    if (task.use < plan.lockUseCount) {
        UseLock(running, locks_[plan.lockUses[task.use].lock]);
    } else if (plan.periodUs == 0) {
        BeginJob(running);
    } else {
        task.state = State::kAsleep;
        RunNext(core, SwitchReason::kSlept);
    }
}

// Takes a lock, or waits for it, or leaves it to who waits for it.
void SchedEngine::UseLock(std::uint32_t task, Lock& lock) {
    Task& state = tasks_[task];
    if (state.isHolding) {
        state.isHolding = false;
        ++state.use;
        LeaveLock(lock, state.core);
    } else if (lock.owner == kNobody) {
        lock.owner = task;
        state.isHolding = true;
    } else {
        lock.waiting.push_back(task);
        state.state = State::kBlocked;
        RunNext(state.core, SwitchReason::kWaitsForLock);
    }
}

void SchedEngine::LeaveLock(Lock& lock, std::uint32_t core) {
    const auto first = std::max_element(
        lock.waiting.begin(), lock.waiting.end(), [this](std::uint32_t one, std::uint32_t other) {
            return ImportanceOf(PlanOf(one)) < ImportanceOf(PlanOf(other));
        });
    if (first == lock.waiting.end()) {
        lock.owner = kNobody;
        return;
    }
    lock.owner = *first;
    lock.waiting.erase(first);
    tasks_[lock.owner].isHolding = true;
    Wake(lock.owner, core);
}

// The running task goes behind those of its kind, or to a core that has more room for it.
void SchedEngine::EndSlice(std::uint32_t core) {
    const std::uint32_t former = cores_[core].running;
    std::vector<std::uint32_t>& queue = cores_[core].queue;
    tasks_[former].state = State::kReady;
    tasks_[former].turn = nextTurn_++;
    queue.push_back(former);
    RunNext(core, SwitchReason::kPreempted);
    if (cores_[core].running != former) {
        queue.erase(std::find(queue.begin(), queue.end(), former));
        MoveTo(former, CoreFor(former), core);
        Place(former, Arrival::kDisplaced);
    }
}

// Gives a core that its task leaves to the next one.
void SchedEngine::RunNext(std::uint32_t core, SwitchReason reason) {
    const std::uint32_t next = PickFor(core);
    if (next != kNobody) {
        std::vector<std::uint32_t>& queue = cores_[tasks_[next].core].queue;
        queue.erase(std::find(queue.begin(), queue.end(), next));
        MoveTo(next, core, core);
    }
    SwitchTo(core, next, reason);
}

void SchedEngine::SwitchTo(std::uint32_t core, std::uint32_t task, SwitchReason reason) {
    Core& here = cores_[core];
    if (here.running != task) {
        SchedEvent event;
        event.core = core;
        event.current = here.running;
        event.task = task;
        event.reason = reason;
        Tell(event);
    }
    here.running = task;
    here.sinceUs = nowUs_;
    here.sliceEndUs = kNever;
    if (task != kNobody) {
        tasks_[task].state = State::kRunning;
        const std::uint64_t sliceUs = SliceOf(PlanOf(task).policy);
        here.sliceEndUs = sliceUs == 0 ? kNever : nowUs_ + sliceUs;
    }
}

// The most important real-time task that may run here, wherever it waits, else who of this queue
// was served least, else who waits longest elsewhere.
std::uint32_t SchedEngine::PickFor(std::uint32_t core) const {
    std::uint32_t best = kNobody;
    for (std::uint32_t task = 0; task < plan_.taskCount; ++task) {
        const bool isThere = tasks_[task].state == State::kReady && MayRun(task, core);
        if (isThere && (best == kNobody || GoesFirst(task, best, core))) {
            best = task;
        }
    }
    return best;
}

bool SchedEngine::GoesFirst(std::uint32_t one, std::uint32_t other, std::uint32_t core) const {
    const std::int64_t importance = ImportanceOf(PlanOf(one));
    if (importance != ImportanceOf(PlanOf(other))) {
        return importance > ImportanceOf(PlanOf(other));
    }
    const Task& task = tasks_[one];
    const Task& best = tasks_[other];
    if ((task.core == core) != (best.core == core)) {
        return task.core == core;
    }
    if (importance == 0 && task.core == core && task.served != best.served) {
        return task.served < best.served;
    }
    return task.turn < best.turn;
}

void SchedEngine::Tell(SchedEvent event) {
    event.timeUs = nowUs_;
    if (*sink_) {
        (*sink_)(event);
    }
}

}  // namespace zarn::board
