#pragma once

#include <optional>
#include <string>

#include "board/state/cpu_observation.h"

// What is known of the board's processor, as text for those who hold measurements against it.
namespace zarn::board {

// The target "-a", "-C NUMBER" or "-p PROGRAM", without the blank if it is one word; nothing if it
// means none.
[[nodiscard]] std::optional<CpuTarget> ReadTarget(const BoardState& state, const std::string& word);

// What the model has the target do in that time: what holds the pipeline up, all metrics, and the
// functions by their shares of the cycles.
[[nodiscard]] std::string TruthText(const BoardState& state, const CpuTarget& target,
                                    const BoardSpan& span);

// The time that the programs which work have really spent in their functions so far, by their own
// clock.
[[nodiscard]] std::string AccountText(const BoardState& state);

}  // namespace zarn::board
