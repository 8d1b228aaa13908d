#pragma once

// What the workload does, by its first argument: each mode in a file of its own. A mode takes the
// number of its rounds, 0 for any number, and ends behind the last of them or the one in which an
// interrupt comes. It gives the exit status.
namespace zarn::board {

// Runs three functions whose instructions are counted: in each round 600,000, 300,000 and 100,000,
// in pieces of 100,000 in random order.
// An interrupt ends it after 50 rounds at the earliest.
int SpinLoops(long rounds);

// Takes memory of the heap by two functions and gives it back, by a plan.
int FollowHeapPlan(long rounds);

// Makes that many rounds of system calls, some of which fail, whatever interrupts come.
int MakeCalls(long rounds);

// The same, begun when somebody traces the process, by whom each of the calls is seen.
int MakeCallsWhenTraced(long rounds);

}  // namespace zarn::board
