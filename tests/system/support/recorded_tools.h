#pragma once

#include "tests/system/support/sandbox.h"

namespace zarn::test {

// Puts a `top` and a `ps` into the sandbox that print what the real ones printed: three samples of
// a small machine, its cores, its threads, its processes, whatever number of samples is asked for.
void AddRecordedCpuTools(Sandbox& sandbox);

// Puts a `perf` into the sandbox that leaves the counters of a system that waits for its memory,
// and a `pidof` that knows the process "frame_worker" too.
void AddRecordedPerf(Sandbox& sandbox);

// The lines of the error stream that are not about making the tree and recording versions.
[[nodiscard]] std::string ErrorsOfMissions(const RunResult& run);

}  // namespace zarn::test
