#pragma once

#include "board/perf/perf_call.h"

// What the machine's kernel lets this process sample.
namespace zarn::board {

enum class KernelSampling { None, Clock, Counter };

// Whether what the call looks at may be sampled, and by what: a counter of cycles, or the
// processor's clock.
[[nodiscard]] KernelSampling KernelSamplingOf(const PerfCall& call);

// Whether the machine has a counter of cache misses that may sample it.
[[nodiscard]] bool CanSampleMisses(const PerfCall& call);

}  // namespace zarn::board
