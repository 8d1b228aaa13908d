#include "board/perf/sched_stacks.h"

#include <array>

namespace zarn::board {
namespace {

constexpr KernelCall kSwitching{"__schedule", 0xffff800008a1c3a0, 0x2e8};
constexpr KernelCall kSchedule{"schedule", 0xffff800008a1c7b4, 0x5c};
constexpr KernelCall kSyscall{"invoke_syscall", 0xffff80000802a6a0, 0x50};
constexpr KernelCall kHandler{"el0_svc", 0xffff800008a10d20, 0x34};

}  // namespace

const CallStack& SwitchStack(SwitchReason reason) {
    static const std::array<CallStack, 3> stacks{
        CallStack{kSwitching,
                  kSchedule,
                  {"do_notify_resume", 0xffff800008015f84, 0x94},
                  {"el0_interrupt", 0xffff800008a10fc8, 0xc0},
                  {"__el0_irq_handler_common", 0xffff800008a110b4, 0x18},
                  {"el0t_64_irq_handler", 0xffff800008a11a40, 0x10},
                  {"el0t_64_irq", 0xffff80000801198c, 0x190}},
        CallStack{kSwitching,
                  kSchedule,
                  {"do_nanosleep", 0xffff800008a20e1c, 0x7c},
                  {"hrtimer_nanosleep", 0xffff8000081414a8, 0xa8},
                  {"common_nsleep", 0xffff80000814b5c4, 0x34},
                  {"__arm64_sys_clock_nanosleep", 0xffff80000814cd40, 0xe0},
                  kSyscall,
                  kHandler},
        CallStack{kSwitching,
                  kSchedule,
                  {"futex_wait_queue", 0xffff8000081617bc, 0x6c},
                  {"futex_wait", 0xffff800008161fd8, 0x128},
                  {"do_futex", 0xffff80000815e28c, 0x14c},
                  {"__arm64_sys_futex", 0xffff80000815e4f4, 0x74},
                  kSyscall,
                  kHandler},
    };
    return stacks[static_cast<std::size_t>(reason)];
}

const CallStack& WakingStack() {
    static const CallStack stack{{"try_to_wake_up", 0xffff8000080c9a5c, 0x28c},
                                 {"wake_up_process", 0xffff8000080c9e70, 0x20},
                                 {"hrtimer_wakeup", 0xffff8000081405d4, 0x24},
                                 {"__hrtimer_run_queues", 0xffff800008140b14, 0x154}};
    return stack;
}

const CallStack& RuntimeStack() {
    static const CallStack stack{{"update_curr", 0xffff8000080d3d38, 0x118}, kSwitching, kSchedule};
    return stack;
}

}  // namespace zarn::board
