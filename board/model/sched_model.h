#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "board/model/sched_plan.h"

// The scheduler of the board's cores. Seeded: what happens at a moment depends on plan, seed and
// the time since the board's start alone, whoever looks whenever.
namespace zarn::board {

enum class SchedEventKind : std::uint32_t { kWakeup, kMigrate, kSwitch };

// Why a task leaves its core.
enum class SwitchReason : std::uint32_t { kPreempted, kSlept, kWaitsForLock };

struct SchedEvent {
    static constexpr std::uint32_t kIdleTask = 0xFFFFFFFF;

    SchedEventKind kind = SchedEventKind::kSwitch;
    std::uint64_t timeUs = 0;  // since the board's start
    std::uint32_t core = 0;    // on which it happens
    // The task that ran there, or kIdleTask: who leaves the core, or during whose run it happens.
    std::uint32_t current = kIdleTask;
    // Who comes to the core, wakes up or changes its core; index in the plan or kIdleTask.
    std::uint32_t task = kIdleTask;
    std::uint32_t toCore = 0;                        // of a wake-up and a migration
    std::uint32_t fromCore = 0;                      // of a migration
    SwitchReason reason = SwitchReason::kPreempted;  // of a switch away from a task
};

// A stretch in which a task had work and no core: from its wake-up, or from the loss of its core,
// to its switch-in.
struct SchedDelay {
    std::uint32_t task = 0;
    std::uint32_t core = 0;  // which it came to
    std::uint64_t fromUs = 0;
    std::uint64_t toUs = 0;
};

// Microseconds since the board's start; what happens at `toUs` is not in it any more.
struct SchedSpan {
    std::uint64_t fromUs = 0;
    std::uint64_t toUs = 0;
};

class SchedEngine;

class SchedSimulation {
public:
    using Sink = std::function<void(const SchedEvent&)>;

    // Begins at the board's start.
    SchedSimulation(const SchedPlan& plan, std::uint64_t seed);
    SchedSimulation(const SchedSimulation&) = delete;
    SchedSimulation& operator=(const SchedSimulation&) = delete;
    ~SchedSimulation();

    // Lets all happen that does before a moment, which may not lie before the last one, in its
    // order.
    void Advance(std::uint64_t untilUs, const Sink& sink);

    // The task that runs on a core at the moment advanced to, or SchedEvent::kIdleTask.
    [[nodiscard]] std::uint32_t RunningOn(std::uint32_t core) const;

private:
    std::unique_ptr<SchedEngine> engine_;
};

// Sees the delays in events that are told in their order, from the first one on.
class DelayWatch {
public:
    // The delay that ends with this event, if one does.
    [[nodiscard]] std::optional<SchedDelay> Take(const SchedEvent& event);

private:
    std::array<std::optional<std::uint64_t>, kMaxSchedTasks> readySinceUs_;
};

// The task that runs on each core at a moment, or SchedEvent::kIdleTask.
[[nodiscard]] std::vector<std::uint32_t> RunningAt(const SchedPlan& plan, std::uint64_t seed,
                                                   std::uint64_t timeUs);

// What happens in a time.
[[nodiscard]] std::vector<SchedEvent> EventsIn(const SchedPlan& plan, std::uint64_t seed,
                                               const SchedSpan& span);

// The delays that end in a time, in the order of their ends.
[[nodiscard]] std::vector<SchedDelay> DelaysIn(const SchedPlan& plan, std::uint64_t seed,
                                               const SchedSpan& span);

}  // namespace zarn::board
