#pragma once

#include <sys/types.h>

namespace zarn::test {

// Whether the process has nothing left to do for `signal`: it does not wait for delivery any more,
// and every thread sleeps, so that a handler that ran has ended. True too for a process that is
// gone.
[[nodiscard]] bool IsDoneWith(int signal, pid_t process);

}  // namespace zarn::test
