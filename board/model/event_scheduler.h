#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

#include "board/model/event_plan.h"

// The event scheduler of the AI CPU complex. Events of each kind are published at random moments at
// the kind's rate; each core has one queue, first come first run; a run takes the longer the less
// memory the AI block gets. Seeded: what has happened at a moment depends on plan, seed, begin and
// the memory served alone, not on the moments at which somebody looked.
namespace zarn::board {

// How long something took, over all times it happened. Microseconds.
struct TimeFigures {
    std::uint64_t count = 0;
    std::uint64_t sumUs = 0;
    std::uint64_t mostUs = 0;

    void Add(std::uint64_t us);
    // Whole microseconds, 0 before the first one.
    [[nodiscard]] std::uint64_t MeanUs() const;
};

// Events so far. What is published runs, has run or waits.
struct EventCounts {
    std::uint64_t published = 0;
    std::uint64_t run = 0;  // begun, at least

    [[nodiscard]] std::uint64_t Waiting() const { return published - run; }
};

// One of the events that took too long.
struct LateEvent {
    std::uint32_t kind = 0;  // index in the plan
    std::uint64_t startUs = 0;
    std::uint64_t us = 0;
};

// The last events over a threshold, the oldest first, and how many there were of each kind.
struct LateEvents {
    static constexpr std::size_t kKept = 64;

    std::deque<LateEvent> last;
    std::array<std::uint64_t, kMaxEventKinds> ofKind{};
};

// A run of an event on a core.
struct EventRun {
    std::uint32_t kind = 0;
    std::uint64_t startUs = 0;
    std::uint64_t us = 0;
};

// A core with its queue, whose places are the core's event pool.
struct EventCore {
    static constexpr std::size_t kTracked = 16;
    static constexpr std::uint64_t kIdle = ~std::uint64_t{0};

    struct Waiting {
        std::uint32_t kind = 0;
        std::uint64_t number = 0;  // among those of its kind
        std::uint64_t publishedUs = 0;
    };

    EventCounts counts;
    TimeFigures waits;
    std::uint64_t mostWaiting = 0;
    std::uint64_t failures = 0;     // events that found no place
    std::uint64_t queueTimeUs = 0;  // waiting events, summed over the microseconds
    std::deque<Waiting> queue;
    std::uint64_t dueUs = kIdle;  // end of what it is at: waking up or a run
    bool isRunning = false;
    EventRun running;
    std::deque<EventRun> track;  // the last runs begun
};

class EventScheduler {
public:
    // The share of what the AI block asks of the memory that it gets in the tick that begins at a
    // moment of the board, in milliseconds; 0 to 1.
    using ServedAt = std::function<double(std::uint64_t tickMs)>;

    // `beginUs` is the moment of the board at which the driver starts, without any event.
    EventScheduler(const EventPlan& plan, std::uint64_t seed, std::uint64_t beginUs);

    // Lets all happen that does until a moment of the board, the moment included.
    void Advance(std::uint64_t untilUs, const ServedAt& served);

    [[nodiscard]] const EventPlan& Plan() const { return plan_; }
    [[nodiscard]] std::uint64_t NowUs() const { return nowUs_; }
    [[nodiscard]] std::uint64_t BeginUs() const { return beginUs_; }
    [[nodiscard]] const std::array<EventCore, kAiCpus>& Cores() const { return cores_; }
    [[nodiscard]] const EventCounts& OfKind(std::size_t kind) const { return kinds_[kind].counts; }
    [[nodiscard]] EventCounts OfNode() const;
    [[nodiscard]] const TimeFigures& KernelTimes() const { return kernel_; }
    [[nodiscard]] const TimeFigures& SyscallTimes() const { return syscall_; }
    [[nodiscard]] const TimeFigures& WakeupTimes() const { return wakeups_; }
    [[nodiscard]] TimeFigures WaitTimes() const;
    [[nodiscard]] std::uint64_t MostWaiting() const { return mostWaiting_; }
    [[nodiscard]] const LateEvents& Late(EventList list) const {
        return late_[static_cast<std::size_t>(list)];
    }
    // The last runs begun on any core, the oldest first.
    [[nodiscard]] const std::deque<EventRun>& Trace() const { return trace_; }

private:
    // A kind's next event.
    struct KindState {
        EventCounts counts;
        std::uint64_t number = 0;
        std::uint64_t dueUs = 0;
    };

    // A random time around `us`; one of `rarity` is `tail` times as long.
    struct Spread {
        std::uint64_t rarity = 0;
        double tail = 1.0;
    };
    [[nodiscard]] double DrawUs(double us, const Spread& spread, std::uint64_t stream,
                                std::uint64_t kind, std::uint64_t number) const;
    [[nodiscard]] std::uint64_t NextDueUs(std::size_t kind, std::uint64_t fromUs) const;
    [[nodiscard]] std::uint64_t OwnStamp(std::uint64_t us);
    [[nodiscard]] EventCore& CoreOf(std::size_t kind);
    [[nodiscard]] double Stretch(const ServedAt& served);
    void MoveTo(std::uint64_t us);
    void Publish(std::size_t kind);
    void WakeUp(EventCore& core, const EventCore::Waiting& event);
    void GoOn(EventCore& core, const ServedAt& served);
    void Begin(EventCore& core, const ServedAt& served);
    void Note(EventList list, const LateEvent& event);

    const EventPlan plan_;
    const std::uint64_t seed_;
    const std::uint64_t beginUs_;
    std::uint64_t nowUs_;
    std::uint64_t lastStampUs_;
    std::uint64_t stretchTick_ = ~std::uint64_t{0};
    double stretch_ = 1.0;
    std::array<KindState, kMaxEventKinds> kinds_{};
    std::array<EventCore, kAiCpus> cores_{};
    std::uint64_t mostWaiting_ = 0;
    TimeFigures kernel_;
    TimeFigures syscall_;
    TimeFigures wakeups_;
    PerEventList<LateEvents> late_{};
    std::deque<EventRun> trace_;
};

}  // namespace zarn::board
