#pragma once

#include <atomic>
#include <cstdint>

namespace zarn {

// One 32-bit word, 0 at start, set to 1 by the interrupt handler and never reset. Handed to every
// mission by address; missions only read it, between units of work. No lock: a signal handler
// writes it.
using StopFlag = std::atomic<std::uint32_t>;
static_assert(StopFlag::is_always_lock_free && sizeof(StopFlag) == sizeof(std::uint32_t));

inline bool IsSet(const StopFlag* stopFlag) {
    return stopFlag->load(std::memory_order_relaxed) != 0;
}

}  // namespace zarn
