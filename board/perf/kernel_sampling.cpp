#include "board/perf/kernel_sampling.h"

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zarn::board {
namespace {

// Tries to open an event of a process on any core, or of all processes on a core.
bool CanOpen(std::uint32_t type, std::uint64_t config, int pid, int core) {
    perf_event_attr event{};
    event.type = type;
    event.config = config;
    event.size = sizeof(event);
    event.disabled = 1;
    event.freq = 1;
    event.sample_freq = 1;
    event.exclude_kernel = pid > 0 ? 1 : 0;  // as perf does where it has to
    const long fd = ::syscall(SYS_perf_event_open, &event, pid, core, -1, PERF_FLAG_FD_CLOEXEC);
    if (fd >= 0) {
        ::close(static_cast<int>(fd));
    }
    return fd >= 0;
}

// All that the call looks at may be sampled by such an event.
bool CanOpenAll(std::uint32_t type, std::uint64_t config, const PerfCall& call) {
    for (const std::uint32_t pid : call.pids) {
        if (!CanOpen(type, config, static_cast<int>(pid), -1)) {
            return false;
        }
    }
    const std::uint32_t cores = call.cores.value_or(1);
    for (int core = 0; core < 32 && call.pids.empty(); ++core) {
        if ((cores >> static_cast<unsigned>(core) & 1U) != 0 && !CanOpen(type, config, -1, core)) {
            return false;
        }
    }
    return true;
}

}  // namespace

KernelSampling KernelSamplingOf(const PerfCall& call) {
    if (CanOpenAll(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES, call)) {
        return KernelSampling::Counter;
    }
    return CanOpenAll(PERF_TYPE_SOFTWARE, PERF_COUNT_SW_CPU_CLOCK, call) ? KernelSampling::Clock
                                                                         : KernelSampling::None;
}

bool CanSampleMisses(const PerfCall& call) {
    return CanOpenAll(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CACHE_MISSES, call);
}

}  // namespace zarn::board
