#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "foundation/command_runner.h"
#include "foundation/stop_flag.h"
#include "platform/buffer_library.h"
#include "platform/device_library.h"

namespace zarn {

// How a mission knows and spends time. The functions may be called from several threads at once.
struct Clock {
    // The current local time as 17 digits; false, without a line, if it cannot be had.
    std::function<bool(std::string&)> currentTime;
    // Sleeps up to that many seconds, ending early when the flag is set.
    std::function<void(std::uint32_t, const StopFlag*)> sleepSeconds;
    // Sleeps that long, whatever the flag.
    std::function<void(std::chrono::microseconds)> pause;
    // Sleeps up to that long, ending early when the flag is set.
    std::function<void(std::chrono::milliseconds, const StopFlag*)> sleepFor;
    // The wall clock, which somebody may set while a mission runs: time since the epoch.
    std::function<std::chrono::nanoseconds()> sinceEpoch;
};

// That of the machine.
[[nodiscard]] Clock SystemClock();

// All that a mission meets outside itself and the run tree. Missions are built from their name and
// a host and keep a copy; what it refers to outlives them. The defaults are the real things; tests
// put others in their place.
struct Host {
    CommandRunner& runner = SystemCommandRunner();
    DeviceLibrary& device = SystemDeviceLibrary();
    BufferLibrary& buffers = SystemBufferLibrary();
    Clock clock = SystemClock();
    std::string procRoot = "/proc/";  // final slash
    std::string sysRoot = "/sys/";    // final slash
    // The number of configured processors; less than 1 if it cannot be had.
    std::function<long()> processorCount = ConfiguredProcessors;

    [[nodiscard]] static long ConfiguredProcessors();
};

}  // namespace zarn
