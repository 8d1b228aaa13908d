#include "kit/host.h"

#include <unistd.h>

#include <thread>

#include "foundation/time.h"

namespace zarn {

Clock SystemClock() {
    return {GetCurrentTimeString, SleepSeconds,
            [](std::chrono::microseconds duration) { std::this_thread::sleep_for(duration); },
            SleepFor,
            []() -> std::chrono::nanoseconds {
                return std::chrono::system_clock::now().time_since_epoch();
            }};
}

long Host::ConfiguredProcessors() {
    return ::sysconf(_SC_NPROCESSORS_CONF);
}

}  // namespace zarn
