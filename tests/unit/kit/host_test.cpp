#include "kit/host.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/support/fake_host.h"

namespace zarn {
namespace {

TEST(HostTest, TheRealOneIsTheMachine) {
    const Host host;
    EXPECT_EQ(&host.runner, &SystemCommandRunner());
    EXPECT_EQ(&host.device, &SystemDeviceLibrary());
    EXPECT_EQ(&host.buffers, &SystemBufferLibrary());
    EXPECT_EQ(host.procRoot, "/proc/");
    EXPECT_EQ(host.sysRoot, "/sys/");
    EXPECT_EQ(host.processorCount(), ::sysconf(_SC_NPROCESSORS_CONF));
}

TEST(HostTest, TheClockGivesSeventeenDigits) {
    std::string time;
    EXPECT_TRUE(Host().clock.currentTime(time));
    EXPECT_THAT(time, testing::MatchesRegex("2[0-9]{16}"));
}

TEST(HostTest, ASetFlagEndsTheSleep) {
    const StopFlag stopFlag(1);
    Host().clock.sleepSeconds(3600, &stopFlag);
    Host().clock.pause(std::chrono::microseconds(1));
    Host().clock.sleepFor(std::chrono::hours(1), &stopFlag);
}

TEST(HostTest, TheWallClockCountsFromTheEpoch) {
    const std::chrono::hours firstOf2020(24 * 18262);
    EXPECT_GT(Host().clock.sinceEpoch(), firstOf2020);
}

// Outside a board there is no resource manager, and every call of the library says so.
TEST(HostTest, TheLinkedLibrariesAnswer) {
    const Host host;
    int count = 0;
    EXPECT_EQ(host.device.GetCount(&count), 1);
    EXPECT_EQ(host.device.List(&count, 1), 1);
    EXPECT_FALSE(host.buffers.RegisterResource());
    EXPECT_FALSE(host.buffers.UnregisterResource());
    std::uint32_t size = 4;
    std::uint32_t word = 0;
    EXPECT_EQ(host.buffers.Configure(0, &word, size), 1);
    EXPECT_EQ(host.buffers.GetInfo(0, &word, &size), 1);
}

TEST(HostTest, TheFakeOneKeepsWhatItIsAsked) {
    test::FakeHost fake;
    fake.failingTick = 1;
    const Host host = fake.Get();
    std::string time;
    EXPECT_TRUE(host.clock.currentTime(time));
    EXPECT_EQ(time, test::FakeHost::kStart);
    EXPECT_FALSE(host.clock.currentTime(time));
    const StopFlag stopFlag(0);
    host.clock.sleepSeconds(7, &stopFlag);
    EXPECT_THAT(fake.sleeps, testing::ElementsAre(7U));
    EXPECT_THAT(fake.sleepFlags, testing::ElementsAre(&stopFlag));
    host.clock.sleepFor(std::chrono::milliseconds(30), &stopFlag);
    EXPECT_THAT(fake.waits, testing::ElementsAre(std::chrono::milliseconds(30)));
    EXPECT_EQ(host.clock.sinceEpoch(), std::chrono::milliseconds(30));
    fake.buffers.answers = {"abc"};
    std::uint32_t size = 8;
    std::string out(8, '-');
    EXPECT_EQ(host.buffers.GetInfo(2, out.data(), &size), 0);
    EXPECT_EQ(out.substr(0, size), "abc");
    EXPECT_THAT(fake.buffers.calls, testing::ElementsAre("info 2 8"));
}

}  // namespace
}  // namespace zarn
