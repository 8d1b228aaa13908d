#pragma once

#include "foundation/stop_flag.h"

namespace zarn {

// The process's stop flag, handed to every mission.
[[nodiscard]] const StopFlag& ProcessStopFlag();

// From now on an interrupt (SIGINT) sets the stop flag and says so on standard output, each time: a
// user who interrupts again learns that it was received. System calls that it breaks off are taken
// up again.
void InstallInterruptHandler();

}  // namespace zarn
