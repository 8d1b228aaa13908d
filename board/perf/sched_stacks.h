#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "board/model/sched_model.h"

// Where the kernel is when something happens to a task: functions as they call one another there,
// the innermost first.
namespace zarn::board {

struct KernelCall {
    std::string_view function;
    std::uint64_t address = 0;
    std::uint64_t offset = 0;  // of the address in the function
};

using CallStack = std::vector<KernelCall>;

// The first calls of a switch, which are the same for all.
inline constexpr std::size_t kSchedulerCalls = 2;

[[nodiscard]] const CallStack& SwitchStack(SwitchReason reason);
[[nodiscard]] const CallStack& WakingStack();
[[nodiscard]] const CallStack& RuntimeStack();

}  // namespace zarn::board
