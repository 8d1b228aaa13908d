#pragma once

// What the workload does, by its first argument: each mode in a file of its own. A mode takes the
// number of its rounds and gives the exit status.
namespace zarn::board {

// Makes rounds of system calls, some of which fail, and prints a head line with the seconds that it
// took and a line for each system call: its name, how often it was made, how often it failed.
int MakeCalls(long rounds);

// The same, begun when somebody traces the process, by whom each of the calls is seen.
int MakeCallsWhenTraced(long rounds);

}  // namespace zarn::board
