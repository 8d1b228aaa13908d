#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A file as `perf record` leaves it, as far as perf needs it to show samples by functions.
namespace zarn::board {

// How often a second a busy core is sampled, as perf does unless it is told otherwise.
inline constexpr std::uint32_t kSamplesPerSecond = 4000;

// Where the kernel's code is in these files.
inline constexpr std::uint64_t kKernelCode = 0xffffffff00000000;

// A process, and what of its program is mapped to be executed; nothing of a process of the kernel.
struct SampledProcess {
    std::uint32_t pid = 0;
    std::string name;
    std::string path;
    std::uint64_t start = 0;
    std::uint64_t size = 0;
    std::uint64_t offset = 0;  // in the file
    std::uint32_t tid = 0;     // of another thread of the process; 0: the main one
};

// What is sampled.
enum class SampledEvent { Cycles, CpuClock, CacheMisses };

struct CycleSample {
    SampledEvent event = SampledEvent::Cycles;
    std::uint64_t timeNs = 0;
    std::uint32_t pid = 0;
    std::uint32_t tid = 0;  // 0: that of the main thread
    std::uint32_t core = 0;
    std::uint64_t cycles = 0;  // that it stands for, or nanoseconds, or misses
    bool inKernel = false;
    std::vector<std::uint64_t> chain;  // addresses, the innermost first
};

// The bytes of the file. Samples are in the order of their times, and of one of the events.
[[nodiscard]] std::string PerfDataBytes(
    const std::vector<SampledProcess>& processes, const std::vector<CycleSample>& samples,
    bool callChains, const std::vector<SampledEvent>& events = {SampledEvent::Cycles},
    std::uint32_t samplesPerSecond = kSamplesPerSecond);

}  // namespace zarn::board
