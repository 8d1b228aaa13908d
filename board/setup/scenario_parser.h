#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "board/state/board_state.h"

// The board's own files, read into its state. Both functions are strict (see Fields) and give the
// reason for a refusal; docs/board.md describes the members.
namespace zarn::board {

// Reads a scenario into `state`: demands, devices, engines, buffers, the QoS settings the board
// starts with and the scenario's own faults. What the text leaves out keeps the default of the
// structs. Gives the reason if the text is no scenario; `state` is then not to be used.
[[nodiscard]] std::optional<std::string> ParseScenario(std::string_view text, BoardState& state);

// Adds the rules of a fault plan behind those that `plan` has.
[[nodiscard]] std::optional<std::string> ParseFaultPlan(std::string_view text, FaultPlan& plan);

}  // namespace zarn::board
