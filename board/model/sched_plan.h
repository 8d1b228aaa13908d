#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// What the scenario settles about the processes that share the board's cores: how they are set up
// and when they want to run for how long. Plain data: it lies in the board's state file.
namespace zarn::board {

inline constexpr std::uint32_t kUsualSchedCores = 4;
inline constexpr std::uint32_t kMaxSchedCores = 32;  // a set of cores is a word
inline constexpr std::size_t kMaxSchedProcesses = 32;
inline constexpr std::size_t kMaxSchedTasks = 64;  // threads of all processes
inline constexpr std::size_t kMaxSchedLocks = 8;
inline constexpr std::size_t kMaxLockUses = 4;    // of one task
inline constexpr std::size_t kMaxFunctions = 64;  // of all tasks
inline constexpr std::size_t kMaxStacks = 8;      // of one task
inline constexpr std::size_t kMaxStackCalls = 8;  // of one stack

enum class SchedPolicy : std::uint32_t { kOther, kBatch, kIdle, kFifo, kRoundRobin };

[[nodiscard]] constexpr bool IsRealTime(SchedPolicy policy) {
    return policy == SchedPolicy::kFifo || policy == SchedPolicy::kRoundRobin;
}

// After so much of its run a task takes a lock, and holds it for so much of its run. Both stretch
// as the run does.
struct LockUse {
    std::uint32_t lock = 0;  // its number
    std::uint32_t afterUs = 0;
    std::uint32_t holdUs = 0;
};

// Runs that begin while a burst lasts take `factor` times as long; each stretch of everyMs holds
// one, at a place of the task's own, or where that of a bus master is, whose figures these are
// then.
struct SchedBurst {
    static constexpr std::uint32_t kOwn = 0xFFFFFFFF;

    std::uint32_t everyMs = 0;  // 0: none
    std::uint32_t lengthMs = 0;
    double factor = 1.0;
    std::uint32_t master = kOwn;  // or its index in kMasters
};

// Functions that call one another, the outermost first, and for how much of its run, by the sum of
// its stacks' shares, a task is in the last of them.
struct TaskStack {
    double share = 0.0;
    std::uint32_t callCount = 0;
    std::array<std::uint32_t, kMaxStackCalls> calls{};  // places in the plan's functions
};

// A thread. It wakes up once in each period and runs; without a period it never sleeps.
struct SchedTask {
    std::array<char, 16> name{};  // ends in a NUL, as the kernel keeps it
    std::uint32_t process = 0;    // index in the plan
    SchedPolicy policy = SchedPolicy::kOther;
    std::int32_t nice = 0;
    std::uint32_t priority = 0;           // 1 to 99 of a real-time policy, else 0
    std::uint32_t affinity = 0xFFFFFFFF;  // a bit for each core that it may run on
    std::uint32_t periodUs = 0;
    std::uint32_t runUs = 0;
    double jitter = 0.0;  // share of period and run by which they vary, 0 to 1
    SchedBurst burst;
    std::uint32_t lockUseCount = 0;
    std::array<LockUse, kMaxLockUses> lockUses{};  // one after the other
    std::uint32_t stackCount = 0;                  // none: all of its run is in the first function
    std::array<TaskStack, kMaxStacks> stacks{};
};

// The name of a function, which ends in a NUL.
using FunctionName = std::array<char, 32>;

struct SchedProcess {
    std::array<char, 16> name{};
    std::uint32_t firstTask = 0;  // the main thread, whose tid is the pid
    std::uint32_t taskCount = 0;
};

// Tasks stand in the order of the scenario, those of a process together.
struct SchedPlan {
    std::uint32_t cores = 0;  // 0: the scenario has no such processes
    std::uint32_t processCount = 0;
    std::array<SchedProcess, kMaxSchedProcesses> processes{};
    std::uint32_t taskCount = 0;
    std::array<SchedTask, kMaxSchedTasks> tasks{};
    std::uint32_t functionCount = 0;
    std::array<FunctionName, kMaxFunctions> functions{};  // the first is that of tasks without any
};

}  // namespace zarn::board
