#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "board/model/sched_model.h"

// The simulation behind SchedSimulation: tasks with their work, cores with their queues, locks.
namespace zarn::board {

class SchedEngine {
public:
    SchedEngine(const SchedPlan& plan, std::uint64_t seed);

    void Advance(std::uint64_t untilUs, const SchedSimulation::Sink& sink);
    [[nodiscard]] std::uint32_t RunningOn(std::uint32_t core) const { return cores_[core].running; }

private:
    static constexpr std::uint32_t kNobody = SchedEvent::kIdleTask;
    static constexpr std::uint64_t kNever = ~std::uint64_t{0};

    enum class Arrival { kWoken, kDisplaced };
    enum class State { kAsleep, kReady, kRunning, kBlocked };

    struct Task {
        State state = State::kAsleep;
        std::uint32_t core = 0;
        std::uint64_t dueUs = kNever;  // of its next wake-up by the clock
        std::uint64_t wakeups = 0;     // by the clock, so far
        std::uint64_t jobs = 0;
        std::uint64_t workUs = 0;  // of its job
        std::uint64_t doneUs = 0;
        std::uint32_t use = 0;  // the next, or present, use of a lock
        bool isHolding = false;
        std::int64_t served = 0;  // run time by weight, to compare with others of its core
        std::int64_t turn = 0;    // among those that wait: who has the lowest is the first
    };

    struct Core {
        std::uint32_t running = kNobody;
        std::uint64_t sinceUs = 0;  // until when the running task's work is counted
        std::uint64_t sliceEndUs = kNever;
        std::int64_t leastServed = 0;  // never falls
        std::vector<std::uint32_t> queue;
    };

    struct Lock {
        std::uint32_t owner = kNobody;
        std::vector<std::uint32_t> waiting;  // the first to come first
    };

    [[nodiscard]] const SchedTask& PlanOf(std::uint32_t task) const { return plan_.tasks[task]; }
    [[nodiscard]] bool MayRun(std::uint32_t task, std::uint32_t core) const;
    [[nodiscard]] std::int64_t ImportanceOn(std::uint32_t core) const;
    [[nodiscard]] std::uint64_t LoadOf(std::uint32_t core) const;
    [[nodiscard]] std::uint32_t CoreFor(std::uint32_t task) const;
    [[nodiscard]] bool Overtakes(std::uint32_t task, std::uint32_t running, Arrival arrival) const;

    [[nodiscard]] std::uint64_t NextOf(std::uint32_t core) const;
    [[nodiscard]] std::uint64_t StopOf(const Task& task, const SchedTask& plan) const;
    [[nodiscard]] std::uint64_t NextMoment() const;

    void SetDue(std::uint32_t task);
    void BeginJob(std::uint32_t task);
    void Count(std::uint32_t core);
    void ClockWakes(std::uint32_t task);
    void Wake(std::uint32_t task, std::uint32_t byCore);
    void MoveTo(std::uint32_t task, std::uint32_t core, std::uint32_t byCore);
    void Place(std::uint32_t task, Arrival arrival);
    void GoOn(std::uint32_t core);
    void ReachStop(std::uint32_t core);
    void UseLock(std::uint32_t task, Lock& lock);
    void LeaveLock(Lock& lock, std::uint32_t core);
    void EndSlice(std::uint32_t core);
    void RunNext(std::uint32_t core, SwitchReason reason);
    void SwitchTo(std::uint32_t core, std::uint32_t task, SwitchReason reason);
    [[nodiscard]] std::uint32_t PickFor(std::uint32_t core) const;
    [[nodiscard]] bool GoesFirst(std::uint32_t one, std::uint32_t other, std::uint32_t core) const;
    void Tell(SchedEvent event);

    const SchedPlan plan_;
    const std::uint64_t seed_;
    std::uint64_t nowUs_ = 0;
    std::int64_t nextTurn_ = 0;
    std::int64_t frontTurn_ = 0;
    std::array<Task, kMaxSchedTasks> tasks_{};
    std::array<Core, kMaxSchedCores> cores_{};
    std::array<Lock, kMaxSchedLocks> locks_{};
    const SchedSimulation::Sink* sink_ = nullptr;
};

}  // namespace zarn::board
