#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// What the scenario settles about the events of the AI CPU complex: who publishes what for which
// thread, and where that thread runs. Plain data: it lies in the board's state file.
namespace zarn::board {

// The cores of the complex, numbered from kFirstAiCpu as the core set of the board says.
inline constexpr std::uint32_t kFirstAiCpu = 1;
inline constexpr std::size_t kAiCpus = 3;

inline constexpr std::size_t kMaxEventGroups = 16;
inline constexpr std::size_t kMaxEventThreads = 32;
inline constexpr std::size_t kMaxEventKinds = 32;

// The driver keeps a list of events for each time that can become too long.
enum class EventList : std::uint32_t {
    kRun,        // from an event's begin on its core to its end
    kKernel,     // publishing from inside the kernel
    kSubscribe,  // from publishing to the begin
    kSyscall,    // publishing by a system call
    kWakeup,     // waking an idle core for an event
};
inline constexpr std::size_t kEventLists = 5;
template <typename T>
using PerEventList = std::array<T, kEventLists>;

// Threads of a program that the scheduler treats alike.
struct EventGroup {
    std::uint32_t program = 0;  // index of the board's programs
    std::uint32_t gid = 0;
    std::uint32_t priority = 0;
};

struct EventThread {
    std::uint32_t group = 0;   // index in the plan
    std::uint32_t number = 0;  // among the threads of its program
    std::uint32_t core = kFirstAiCpu;
    double slow = 1.0;  // factor of its run times
};

// A kind of event, which one thread waits for.
struct EventKind {
    static constexpr std::uint32_t kByKernel = 0xFFFFFFFF;

    std::uint32_t id = 0;
    std::uint32_t thread = 0;             // index in the plan
    std::uint32_t publisher = kByKernel;  // index of the board's programs
    std::uint32_t runUs = 0;              // with all the memory bandwidth that is asked for
    double ratePerS = 0.0;
};

struct EventPlan {
    std::uint32_t pool = 1024;  // events that may wait for one core
    double memoryPart = 0.5;    // of a run time, which stretches as the AI block gets less memory
    std::uint32_t wakeupUs = 30;
    std::uint32_t kernelUs = 4;
    std::uint32_t syscallUs = 12;
    PerEventList<std::uint32_t> thresholdUs{5000, 60, 10000, 150, 300};
    std::uint32_t groupCount = 0;
    std::array<EventGroup, kMaxEventGroups> groups{};
    std::uint32_t threadCount = 0;
    std::array<EventThread, kMaxEventThreads> threads{};
    std::uint32_t kindCount = 0;
    std::array<EventKind, kMaxEventKinds> kinds{};
};

}  // namespace zarn::board
