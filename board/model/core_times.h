#pragma once

#include <cstdint>
#include <vector>

#include "board/model/sched_model.h"

// How long the board's cores were busy, in ticks, as a kernel counts it that looks at its clock.
namespace zarn::board {

inline constexpr std::uint64_t kClockTickUs = 10000;

// A core's ticks since the board's start. Each tick is one of these.
struct CoreTicks {
    std::uint64_t user = 0;
    std::uint64_t nice = 0;  // of tasks with a nice value above 0
    std::uint64_t idle = 0;
};

class CoreTimes {
public:
    CoreTimes(const SchedPlan& plan, std::uint64_t seed);

    // Counts until so many ticks are over since the board's start. Fewer than before change
    // nothing.
    void Advance(std::uint64_t ticks);

    [[nodiscard]] const std::vector<CoreTicks>& Cores() const { return ticks_; }
    // Tasks have come to a core so often, on all cores together.
    [[nodiscard]] std::uint64_t Switches() const { return switches_; }
    // The cores that run a task.
    [[nodiscard]] std::uint32_t Running() const;

private:
    // What a core does, and for which of its times no tick has been counted yet. A tick goes to the
    // one to which most is owed, so that none ever falls back, and none is ever a tick and a half
    // from the truth.
    struct Core {
        std::uint32_t running = SchedEvent::kIdleTask;
        std::uint64_t sinceUs = 0;
        std::int64_t userUs = 0;
        std::int64_t niceUs = 0;
        std::int64_t idleUs = 0;
    };

    void CountUntil(Core& core, std::uint64_t timeUs) const;
    static void TakeTick(Core& core, CoreTicks& ticks);

    const SchedPlan plan_;
    SchedSimulation simulation_;
    std::uint64_t done_ = 0;  // ticks
    std::uint64_t switches_ = 0;
    std::vector<Core> cores_;
    std::vector<CoreTicks> ticks_;
};

}  // namespace zarn::board
