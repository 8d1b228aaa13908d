#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "kit/host.h"
#include "tests/support/fake_buffers.h"
#include "tests/support/fake_device.h"
#include "tests/support/fake_runner.h"

namespace zarn::test {

// The outside of a mission under test: commands are recorded and answered from a script, device and
// buffers are fakes, sleeping is noted instead of done, and the clock moves on by one millisecond
// with each question, from kStart on. Must outlive the missions built on it.
class FakeHost {
public:
    static constexpr const char* kStart = "20230101120000000";

    // The host to build a mission with. What is set below counts also afterwards.
    [[nodiscard]] Host Get();

    FakeRunner runner;
    FakeDevice device;
    FakeBuffers buffers;
    CommandRunner* otherRunner = nullptr;  // takes the place of `runner`
    DeviceLibrary* otherDevice = nullptr;  // takes the place of `device`
    std::string procRoot = "/proc/";
    std::string sysRoot = "/sys/";
    long processors = 2;

    // Stands in for the clock above, if set.
    std::function<bool(std::string&)> currentTime;
    int ticks = 0;         // questions asked
    int failingTick = -1;  // the question that gets no answer

    std::vector<std::uint32_t> sleeps;              // asked for, in seconds
    std::vector<std::chrono::microseconds> pauses;  // asked for
    std::vector<std::chrono::milliseconds> waits;   // asked for, that the flag may end
    std::vector<const StopFlag*> sleepFlags;        // the flags handed over with `sleeps`
    std::function<void()> duringSleep = [] {};
    std::chrono::nanoseconds wallTime{0};  // moves on by `waits` alone

private:
    bool Tick(std::string& time);

    std::mutex mutex_;
};

}  // namespace zarn::test
