#include "tests/support/fake_host.h"

namespace zarn::test {

Host FakeHost::Get() {
    Clock clock;
    clock.currentTime = [this](std::string& time) {
        return currentTime ? currentTime(time) : Tick(time);
    };
    clock.sleepSeconds = [this](std::uint32_t seconds, const StopFlag* flag) {
        sleeps.push_back(seconds);
        sleepFlags.push_back(flag);
        duringSleep();
    };
    clock.pause = [this](std::chrono::microseconds duration) { pauses.push_back(duration); };
    clock.sleepFor = [this](std::chrono::milliseconds duration, const StopFlag* flag) {
        waits.push_back(duration);
        sleepFlags.push_back(flag);
        wallTime += duration;
        duringSleep();
    };
    clock.sinceEpoch = [this] { return wallTime; };
    return {otherRunner != nullptr ? *otherRunner : runner,
            otherDevice != nullptr ? *otherDevice : device,
            buffers,
            clock,
            procRoot,
            sysRoot,
            [this] { return processors; }};
}

bool FakeHost::Tick(std::string& time) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::string tick = std::to_string(ticks);
    time = std::string(kStart).substr(0, 17 - tick.size()) + tick;
    return ticks++ != failingTick;
}

}  // namespace zarn::test
