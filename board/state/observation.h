#pragma once

#include <cstdint>

#include "board/state/board_state.h"

// The memory model on top of a board's state: who gets how much at a moment.
namespace zarn::board {

// What the memory knows at one moment, one entry per partition of kMasters, MB/s.
struct MemoryMoment {
    PerMaster<double> demands{};
    PerMaster<double> grants{};
};

// The partitions' settings as the sharing takes them. A partition's priority is the highest of its
// masters.
[[nodiscard]] PerMaster<PartitionSetting> SettingsOf(const BoardState& state);

// The demand of each partition at `timeMs`: that of all masters that now stand in it.
[[nodiscard]] PerMaster<double> DemandsOf(const BoardState& state, std::uint64_t timeMs);

// Both and what comes of them. The caller holds the lock, or owns the state.
[[nodiscard]] MemoryMoment Observe(const BoardState& state, std::uint64_t timeMs);

// Share of what is asked for in the partition of master `master` (index in kMasters) that is
// granted there, 0 to 1; 1 where nothing is asked for.
[[nodiscard]] double ServedShare(const BoardState& state, const MemoryMoment& moment,
                                 std::size_t master);

// Percent that each of the first `cores` cores of the AI block is busy, or the code it always
// reports.
void AiCoreUsage(const BoardState& state, std::uint64_t timeMs, std::uint8_t* usage,
                 std::size_t cores);

// Percent that an engine of the image block is busy; `master` is kImgpVenc, kImgpVdec or kImgpVpc.
[[nodiscard]] std::uint32_t ImageEngineUsage(const BoardState& state, std::size_t master,
                                             std::uint64_t timeMs);

}  // namespace zarn::board
