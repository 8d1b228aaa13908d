#include "board/model/event_scheduler.h"

#include <algorithm>
#include <cmath>

#include "board/model/demand.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kArrivalStream = 11;
constexpr std::uint64_t kRunStream = 12;
constexpr std::uint64_t kPublishStream = 13;
constexpr std::uint64_t kWakeupStream = 14;

constexpr std::uint64_t kTickUs = kTickMs * 1000;
constexpr double kLeastServed = 0.01;
constexpr std::size_t kTraced = 64;

template <typename T>
void Keep(std::deque<T>& last, const T& added, std::size_t most) {
    last.push_back(added);
    if (last.size() > most) {
        last.pop_front();
    }
}

}  // namespace

void TimeFigures::Add(std::uint64_t us) {
    ++count;
    sumUs += us;
    mostUs = std::max(mostUs, us);
}

std::uint64_t TimeFigures::MeanUs() const {
    return count == 0 ? 0 : sumUs / count;
}

EventScheduler::EventScheduler(const EventPlan& plan, std::uint64_t seed, std::uint64_t beginUs)
    : plan_(plan), seed_(seed), beginUs_(beginUs), nowUs_(beginUs), lastStampUs_(beginUs) {
    for (std::size_t kind = 0; kind < plan_.kindCount; ++kind) {
        kinds_[kind].dueUs = NextDueUs(kind, beginUs);
    }
}

EventCounts EventScheduler::OfNode() const {
    EventCounts sum;
    for (const EventCore& core : cores_) {
        sum.published += core.counts.published;
        sum.run += core.counts.run;
    }
    return sum;
}

TimeFigures EventScheduler::WaitTimes() const {
    TimeFigures all;
    for (const EventCore& core : cores_) {
        all.count += core.waits.count;
        all.sumUs += core.waits.sumUs;
        all.mostUs = std::max(all.mostUs, core.waits.mostUs);
    }
    return all;
}

void EventScheduler::Advance(std::uint64_t untilUs, const ServedAt& served) {
    const auto kindsEnd = kinds_.begin() + plan_.kindCount;
    const auto byDue = [](const auto& a, const auto& b) { return a.dueUs < b.dueUs; };
    while (true) {
        const auto kind = std::min_element(kinds_.begin(), kindsEnd, byDue);
        const auto core = std::min_element(cores_.begin(), cores_.end(), byDue);
        const bool isCore = kind == kindsEnd || core->dueUs <= kind->dueUs;
        const std::uint64_t due = isCore ? core->dueUs : kind->dueUs;
        if (due > untilUs) {
            break;
        }
        MoveTo(due);
        if (isCore) {
            GoOn(*core, served);
        } else {
            Publish(static_cast<std::size_t>(kind - kinds_.begin()));
        }
    }
    MoveTo(untilUs);
}

double EventScheduler::DrawUs(double us, const Spread& spread, std::uint64_t stream,
                              std::uint64_t kind, std::uint64_t number) const {
    const std::uint64_t hash = HashOf(seed_, stream, kind, number);
    const bool isInTail = hash % spread.rarity == 0;
    const double inside = static_cast<double>(hash >> 11U) * 0x1p-53;
    return us * (0.5 + inside) * (isInTail ? spread.tail : 1.0);
}

std::uint64_t EventScheduler::NextDueUs(std::size_t kind, std::uint64_t fromUs) const {
    const std::uint64_t hash = HashOf(seed_, kArrivalStream, kind, kinds_[kind].number);
    const double uniform = (static_cast<double>(hash >> 11U) + 1.0) * 0x1p-53;
    const double pauseUs = -std::log(uniform) * 1e6 / plan_.kinds[kind].ratePerS;
    return fromUs + std::max<std::uint64_t>(1, static_cast<std::uint64_t>(pauseUs));
}

// Readers know an event by its stamp, so no two have the same.
std::uint64_t EventScheduler::OwnStamp(std::uint64_t us) {
    lastStampUs_ = std::max(us, lastStampUs_ + 1);
    return lastStampUs_;
}

EventCore& EventScheduler::CoreOf(std::size_t kind) {
    return cores_[plan_.threads[plan_.kinds[kind].thread].core - kFirstAiCpu];
}

double EventScheduler::Stretch(const ServedAt& served) {
    const std::uint64_t tick = nowUs_ / kTickUs;
    if (tick != stretchTick_) {
        stretchTick_ = tick;
        const double share = std::clamp(served(tick * kTickMs), kLeastServed, 1.0);
        stretch_ = 1.0 - plan_.memoryPart + plan_.memoryPart / share;
    }
    return stretch_;
}

void EventScheduler::MoveTo(std::uint64_t us) {
    if (us <= nowUs_) {
        return;
    }
    for (EventCore& core : cores_) {
        core.queueTimeUs += core.queue.size() * (us - nowUs_);
    }
    nowUs_ = us;
}

void EventScheduler::Publish(std::size_t kind) {
    KindState& state = kinds_[kind];
    EventCore& core = CoreOf(kind);
    const std::uint64_t number = state.number++;
    state.dueUs = NextDueUs(kind, nowUs_);
    if (core.queue.size() >= plan_.pool) {
        ++core.failures;
        return;
    }
    const bool byKernel = plan_.kinds[kind].publisher == EventKind::kByKernel;
    const auto us = static_cast<std::uint64_t>(std::lround(DrawUs(
        byKernel ? plan_.kernelUs : plan_.syscallUs, {1024, 20.0}, kPublishStream, kind, number)));
    const EventCore::Waiting event{static_cast<std::uint32_t>(kind), number, OwnStamp(nowUs_)};
    (byKernel ? kernel_ : syscall_).Add(us);
    Note(byKernel ? EventList::kKernel : EventList::kSyscall, {event.kind, event.publishedUs, us});
    ++state.counts.published;
    ++core.counts.published;
    core.queue.push_back(event);
    core.mostWaiting = std::max<std::uint64_t>(core.mostWaiting, core.queue.size());
    mostWaiting_ = std::max(mostWaiting_, OfNode().Waiting());
    if (core.dueUs == EventCore::kIdle) {
        WakeUp(core, event);
    }
}

void EventScheduler::WakeUp(EventCore& core, const EventCore::Waiting& event) {
    const auto us = static_cast<std::uint64_t>(
        std::lround(DrawUs(plan_.wakeupUs, {1024, 20.0}, kWakeupStream, event.kind, event.number)));
    wakeups_.Add(us);
    Note(EventList::kWakeup, {event.kind, event.publishedUs, us});
    core.dueUs = nowUs_ + us;
}

// What the core was at is over: it takes the next event, or idles.
void EventScheduler::GoOn(EventCore& core, const ServedAt& served) {
    if (core.isRunning) {
        Note(EventList::kRun, {core.running.kind, core.running.startUs, core.running.us});
    }
    core.isRunning = !core.queue.empty();
    core.dueUs = EventCore::kIdle;
    if (core.isRunning) {
        Begin(core, served);
    }
}

void EventScheduler::Begin(EventCore& core, const ServedAt& served) {
    const EventCore::Waiting event = core.queue.front();
    core.queue.pop_front();
    const EventKind& kind = plan_.kinds[event.kind];
    const std::uint64_t startUs = OwnStamp(nowUs_);
    const std::uint64_t waitUs = startUs - event.publishedUs;
    const double us = DrawUs(kind.runUs * plan_.threads[kind.thread].slow, {512, 4.0}, kRunStream,
                             event.kind, event.number);
    core.running = {event.kind, startUs,
                    static_cast<std::uint64_t>(std::max(1LL, std::llround(us * Stretch(served))))};
    core.dueUs = nowUs_ + core.running.us;
    core.waits.Add(waitUs);
    ++core.counts.run;
    ++kinds_[event.kind].counts.run;
    Note(EventList::kSubscribe, {event.kind, event.publishedUs, waitUs});
    Keep(core.track, core.running, EventCore::kTracked);
    Keep(trace_, core.running, kTraced);
}

void EventScheduler::Note(EventList list, const LateEvent& event) {
    const auto index = static_cast<std::size_t>(list);
    if (event.us <= plan_.thresholdUs[index]) {
        return;
    }
    ++late_[index].ofKind[event.kind];
    Keep(late_[index].last, event, LateEvents::kKept);
}

}  // namespace zarn::board
