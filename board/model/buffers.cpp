#include "board/model/buffers.h"

#include <algorithm>

#include "board/model/demand.h"

namespace zarn::board {
namespace {

// Independent sequences of random numbers.
enum Stream : std::uint64_t { kTakenStream = 40, kHeldStream = 41, kStuckStream = 42 };

}  // namespace

std::uint64_t OwnerBuffers::TakenUs(std::uint64_t number) const {
    return number * owner_.everyUs + HashOf(seed_, kTakenStream, index_, number) % owner_.everyUs;
}

std::uint64_t OwnerBuffers::HeldUs(std::uint64_t number) const {
    const std::uint64_t least = owner_.holdUs - owner_.holdUs / 2;
    return least + HashOf(seed_, kHeldStream, index_, number) % (LongestUs() - least + 1);
}

std::uint64_t OwnerBuffers::LongestUs() const {
    return std::uint64_t{owner_.holdUs} + owner_.holdUs / 2;
}

// The number, within each stretch of `stuckOneOf` buffers, of the one that is stuck.
std::uint64_t OwnerBuffers::StuckPlace(std::uint64_t stretch) const {
    return HashOf(seed_, kStuckStream, index_, stretch) % owner_.stuckOneOf;
}

bool OwnerBuffers::IsStuck(std::uint64_t number) const {
    return owner_.stuckOneOf != 0 &&
           number % owner_.stuckOneOf == StuckPlace(number / owner_.stuckOneOf);
}

std::uint64_t OwnerBuffers::NextStuck(std::uint64_t number) const {
    const std::uint64_t stretch = StuckBefore(number);
    return stretch * owner_.stuckOneOf + StuckPlace(stretch);
}

std::uint64_t OwnerBuffers::StuckBefore(std::uint64_t number) const {
    if (owner_.stuckOneOf == 0) {
        return 0;
    }
    const std::uint64_t stretch = number / owner_.stuckOneOf;
    return stretch + (number % owner_.stuckOneOf > StuckPlace(stretch) ? 1 : 0);
}

bool OwnerBuffers::IsTaken(std::uint64_t number) const {
    return StuckBefore(number) < std::min(owner_.most, blockCount_);
}

std::uint32_t OwnerBuffers::BlockOf(std::uint64_t number) const {
    const std::uint64_t rest = blockCount_ - StuckBefore(number);
    return static_cast<std::uint32_t>(IsStuck(number) ? rest - 1 : number % rest);
}

bool OverdueWalk::Next(OverdueBuffer& buffer) {
    const std::size_t count = std::min<std::size_t>(pools_.ownerCount, kMaxBufferOwners);
    Head* first = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        if (Advance(i) &&
            (first == nullptr || heads_[i].buffer->foundUs < first->buffer->foundUs)) {
            first = &heads_[i];
        }
    }
    if (first == nullptr) {
        return false;
    }
    buffer = *first->buffer;
    first->buffer.reset();
    return true;
}

// Makes the owner's next buffer known; false if there is none. Numbers come in the order of their
// moments, and so do their first looks.
bool OverdueWalk::Advance(std::size_t index) {
    const OwnerBuffers buffers(pools_, index, seed_);
    Head& head = heads_[index];
    while (!head.buffer) {
        const std::optional<std::uint64_t> number = NextCandidate(index, head.number);
        if (!number || !buffers.IsTaken(*number)) {
            return false;
        }
        const std::uint64_t takenUs = buffers.TakenUs(*number);
        const std::uint64_t foundUs = FirstLook(takenUs);
        if (foundUs > looks_.untilUs) {
            return false;
        }
        if (buffers.IsStuck(*number) || takenUs + buffers.HeldUs(*number) > foundUs) {
            head.buffer = OverdueBuffer{index, *number, takenUs, foundUs};
        }
        head.number = *number + 1;
    }
    return true;
}

// The first buffer from that number on that a look might find, of those that are not worth a closer
// look: where buffers come back within the limit, and among those taken so early that they were
// back before the first look, only the stuck ones are left.
std::optional<std::uint64_t> OverdueWalk::NextCandidate(std::size_t index,
                                                        std::uint64_t number) const {
    const BufferOwner& owner = pools_.owners[index];
    const OwnerBuffers buffers(pools_, index, seed_);
    if (owner.everyUs == 0) {
        return std::nullopt;
    }
    const std::uint64_t longestUs = buffers.LongestUs();
    const bool comeBackInTime = longestUs <= looks_.limitUs;
    const std::uint64_t earlyUs = looks_.sinceUs - std::min(looks_.sinceUs, longestUs);
    const std::uint64_t firstHeld = earlyUs / owner.everyUs;
    if (!comeBackInTime && number >= firstHeld) {
        return number;
    }
    if (owner.stuckOneOf == 0) {
        return comeBackInTime ? std::nullopt : std::optional(firstHeld);
    }
    const std::uint64_t stuck = buffers.NextStuck(number);
    return comeBackInTime ? stuck : std::min(stuck, firstHeld);
}

std::uint64_t OverdueWalk::FirstLook(std::uint64_t takenUs) const {
    const std::uint64_t dueUs = takenUs + looks_.limitUs;
    if (dueUs <= looks_.sinceUs) {
        return looks_.sinceUs;
    }
    const std::uint64_t looks = (dueUs - looks_.sinceUs + looks_.everyUs - 1) / looks_.everyUs;
    return looks_.sinceUs + looks * looks_.everyUs;
}

}  // namespace zarn::board
