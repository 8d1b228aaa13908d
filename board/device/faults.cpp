#include "board/device/faults.h"

#include <algorithm>

namespace zarn::board {
namespace {

bool MatchesValue(std::uint32_t wanted, std::uint32_t value) {
    return wanted == FaultRule::kAnyValue || wanted == value;
}

bool Matches(const FaultRule& rule, const CallArguments& arguments) {
    return (rule.call == Call::kAny || rule.call == arguments.call) &&
           MatchesValue(rule.device, arguments.device) &&
           MatchesValue(rule.mainCommand, arguments.mainCommand) &&
           MatchesValue(rule.subCommand, arguments.subCommand) &&
           MatchesValue(rule.key, arguments.key);
}

}  // namespace

std::optional<Fault> NextFault(BoardState& state, const CallArguments& arguments) {
    std::optional<Fault> fault;
    const std::size_t count = std::min<std::size_t>(state.faults.count, kMaxFaults);
    for (std::size_t i = 0; i < count; ++i) {
        FaultRule& rule = state.faults.rules[i];
        if (!Matches(rule, arguments)) {
            continue;
        }
        const std::uint64_t turn = rule.seen++;
        const std::uint64_t end = std::uint64_t{rule.skip} + rule.times;
        const bool isForever = rule.times == FaultRule::kAnyValue;
        if (!fault && turn >= rule.skip && (isForever || turn < end)) {
            fault = Fault{rule.code, rule.answerSize};
        }
    }
    return fault;
}

}  // namespace zarn::board
