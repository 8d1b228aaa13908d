#pragma once

#include "tests/system/support/sandbox.h"

namespace zarn::test {

// Puts a `top` and a `ps` into the sandbox that print what the real ones printed: three samples of
// a small machine, its cores, its threads, its processes, whatever number of samples is asked for.
void AddRecordedCpuTools(Sandbox& sandbox);

// Puts a `perf` into the sandbox that leaves the counters of a system that waits for its memory,
// and a `pidof` that knows the process "frame_worker" too.
void AddRecordedPerf(Sandbox& sandbox);

// Puts a `perf` into the sandbox that records at once and prints what the real one printed of a
// small program, whatever it is asked about: its report, its samples, a diff of two or three
// versions. Each call begins with "perf-step" and the call's arguments, a tool that does nothing
// and can be given another meaning. A `pidof` knows the process "planner_node" too.
void AddRecordedProfiler(Sandbox& sandbox);

// Gives that profiler a recording without an end, which an interrupt ends: the terminal interrupts
// it with the program.
void MakeRecordingEndless(Sandbox& sandbox);

// Lets the `top` and `ps` of AddRecordedCpuTools know how "frame_worker" is set up too, adds a
// `taskset` and a `chrt` that answer for any thread, and lets the `perf` of AddRecordedPerf record
// the scheduler at once and print what the real one printed of a few processes.
void AddSchedTools(Sandbox& sandbox);

// Puts a `valgrind` into the sandbox that runs its program and leaves a report if that succeeds,
// and a `pidof` that knows the process "planner_node" alone, so that no process of this machine is
// killed. Each call begins with "valgrind-step" and the call's arguments, a tool that does nothing
// and can be given another meaning.
void AddFakeValgrind(Sandbox& sandbox);

// Puts a `strace` into the sandbox that leaves at once the log that the real one left of a small
// batch of system calls. Each call begins with "strace-step" and the call's arguments, a tool that
// does nothing and can be given another meaning. A `pidof` knows the process "planner_node" too.
void AddRecordedTracer(Sandbox& sandbox);

// Puts a `perf` into the sandbox, beside that of AddRecordedProfiler if it is there, that prints at
// once what the real one printed of its benchmarks,
// of a system and of a process, on a machine without counters, and fails for a list of pids that is
// empty. Each call begins with "perf-step" and the call's arguments, a tool that does nothing and
// can be given another meaning. A `pidof` knows two processes "planner_node" and one "zarn" alone.
void AddRecordedBench(Sandbox& sandbox);

// The lines of the error stream that are not about making the tree and recording versions.
[[nodiscard]] std::string ErrorsOfMissions(const RunResult& run);

}  // namespace zarn::test
