#pragma once

#include <cstdint>
#include <optional>

#include "board/state/board_state.h"

// The board's fault plan: which calls of the device libraries fail, and how.
namespace zarn::board {

// What a fault rule can tell calls apart by. A value a call does not have is FaultRule::kAnyValue,
// which no rule's number matches.
struct CallArguments {
    Call call = Call::kAny;
    std::uint32_t device = FaultRule::kAnyValue;
    std::uint32_t mainCommand = FaultRule::kAnyValue;
    std::uint32_t subCommand = FaultRule::kAnyValue;  // low byte
    std::uint32_t key = FaultRule::kAnyValue;         // partition, master, or first word
};

// What becomes of a call.
struct Fault {
    std::int32_t code = 0;  // 0: the call is done, and then answers the size below
    std::uint32_t answerSize = 0;
};

// Counts the call in every rule that matches it and gives the fault of the first one whose turn it
// is.
[[nodiscard]] std::optional<Fault> NextFault(BoardState& state, const CallArguments& arguments);

}  // namespace zarn::board
