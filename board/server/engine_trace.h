#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "board/state/board_state.h"

namespace zarn::board {

// How busy the image engines were over a stretch of time: the same figures that the device library
// answers, tick by tick, as slices of the device profiling tool.
class EngineTrace {
public:
    // Takes the ticks up to that moment, as the settings are now: the first call takes one, a later
    // one those since. To be called once a tick. The caller holds the lock.
    void TakeUntil(const BoardState& state, std::uint64_t timeMs);

    // A row for decoder and encoder, and for the pre-processing core, in each begun second of the
    // trace.
    [[nodiscard]] std::string DataSlice() const;
    [[nodiscard]] std::string VpcSlice() const;

private:
    // The engines, by their places in a tick.
    enum Engine : std::size_t { kVdec, kVpc, kVenc, kEngineCount };
    using Tick = std::array<std::uint32_t, kEngineCount>;  // percent

    // What the ticks of a second have in common.
    struct Second {
        std::uint64_t timeMs = 0;  // of the first one
        std::uint32_t greatest = 0;
        std::uint32_t least = 0;
        double mean = 0.0;
    };
    [[nodiscard]] std::vector<Second> SecondsOf(Engine engine) const;

    std::uint64_t firstTick_ = 0;
    std::vector<Tick> ticks_;
};

}  // namespace zarn::board
