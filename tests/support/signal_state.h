#pragma once

#include <sys/types.h>

namespace zarn::test {

// Whether the thread of a process has nothing left to do for `signal`: it does not wait for
// delivery any more and the thread sleeps, so that a handler that ran has ended. What waits for
// this needs no time limit. True too for a thread that is gone.
[[nodiscard]] bool IsThreadDoneWith(int signal, pid_t process, pid_t thread);

// The same of every thread of the process.
[[nodiscard]] bool IsDoneWith(int signal, pid_t process);

}  // namespace zarn::test
