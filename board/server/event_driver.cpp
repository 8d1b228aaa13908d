#include "board/server/event_driver.h"

#include <utility>

#include "board/server/event_texts.h"
#include "board/server/event_truth.h"
#include "board/state/observation.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kUsPerMs = 1000;

// The memory that the AI block gets of what it asks for, by the settings of now.
EventScheduler::ServedAt ServedIn(BoardState& state) {
    return [&state](std::uint64_t tickMs) {
        const BoardLock lock(state);
        return ServedShare(state, Observe(state, tickMs), kAicDat);
    };
}

// The number in a selection file; what is none counts as 0.
std::uint32_t NumberIn(const std::string& path) {
    std::string text;
    std::uint32_t number = 0;
    if (ReadFile(path, text) != FileResult::Ok) {
        return 0;
    }
    text.erase(text.find_last_not_of(" \n") + 1);
    return IsDigitString(text) && StringToUint32(text, number) ? number : 0;
}

std::uint64_t StartNow(BoardState& state) {
    const BoardLock lock(state);
    state.eventsSinceMs = BoardTimeMs(state);
    return state.eventsSinceMs * kUsPerMs;
}

}  // namespace

std::string EventFolder(const std::string& files) {
    return files + "/sys/event_sched/event_sched/node";
}

EventDriver::EventDriver(BoardState& state, const std::string& files, const std::string& spare,
                         std::vector<pid_t> pids)
    : state_(state),
      folder_(EventFolder(files)),
      pids_(std::move(pids)),
      scheduler_(state.scenario.events, state.seed, StartNow(state)),
      attributes_(folder_, spare, EventAttributes()) {}

void EventDriver::Answer() {
    Advance();
    attributes_.Answer([this](const std::string& attribute) { return TextOf(attribute); });
}

bool EventDriver::Refresh() {
    Advance();
    return attributes_.Refresh([this](const std::string& attribute) { return TextOf(attribute); });
}

void EventDriver::Advance() {
    scheduler_.Advance(BoardTimeMs(state_) * kUsPerMs, ServedIn(state_));
}

std::string EventDriver::TextOf(const std::string& attribute) const {
    const EventSelection selection{NumberIn(folder_ + "/node_id"), NumberIn(folder_ + "/pid"),
                                   NumberIn(folder_ + "/cpuid_in_node"),
                                   NumberIn(folder_ + "/proc_gid")};
    return EventAttributeText(attribute, {scheduler_, state_.scenario.programs, pids_}, selection);
}

EventReplay::EventReplay(BoardState& state) : state_(state) {
    const BoardLock lock(state_);
    pids_.assign(state_.programPids.begin(), state_.programPids.end());
    beginUs_ = state_.eventsSinceMs * kUsPerMs;
}

std::string EventReplay::TextAt(std::uint64_t timeMs) {
    if (!scheduler_ || timeMs * kUsPerMs < scheduler_->NowUs()) {
        scheduler_.emplace(state_.scenario.events, state_.seed, beginUs_);
    }
    scheduler_->Advance(timeMs * kUsPerMs, ServedIn(state_));
    return EventTruthText({*scheduler_, state_.scenario.programs, pids_});
}

}  // namespace zarn::board
