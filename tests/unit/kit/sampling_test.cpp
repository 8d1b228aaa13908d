#include "kit/sampling.h"

#include <gtest/gtest.h>

#include <string>

namespace zarn {
namespace {

// What a sampling did: "s" a sample, a digit a sleep of so many seconds. The flag is set, or the
// sample fails, at the one of that number.
struct Course {
    int stopAt = 0;
    int failAt = 0;
    std::string done;
    bool good = false;
};

Course RunCourse(Course course, std::uint32_t count) {
    StopFlag stop(0);
    int samples = 0;
    Clock clock;
    clock.sleepSeconds = [&](std::uint32_t seconds, const StopFlag* flag) {
        EXPECT_EQ(flag, &stop);
        course.done += std::to_string(seconds);
    };
    course.good = TakeSamples({count, 7}, &stop, clock, [&] {
        course.done += "s";
        ++samples;
        stop = samples == course.stopAt ? 1 : 0;
        return samples != course.failAt;
    });
    return course;
}

TEST(TakeSamplesTest, SleepsAfterEverySampleTheLastOneToo) {
    const Course course = RunCourse({}, 3);
    EXPECT_TRUE(course.good);
    EXPECT_EQ(course.done, "s7s7s7");
}

TEST(TakeSamplesTest, NoSampleIsGood) {
    const Course course = RunCourse({}, 0);
    EXPECT_TRUE(course.good);
    EXPECT_EQ(course.done, "");
}

TEST(TakeSamplesTest, TheFlagEndsItBeforeTheNextSample) {
    const Course course = RunCourse({2, 0, "", false}, 5);
    EXPECT_TRUE(course.good);
    EXPECT_EQ(course.done, "s7s7");
}

TEST(TakeSamplesTest, AFlagThatIsSetLeavesNothingToDo) {
    const StopFlag stop(1);
    bool sampled = false;
    EXPECT_TRUE(TakeSamples({3, 1}, &stop, Clock(), [&sampled] { return sampled = true; }));
    EXPECT_FALSE(sampled);
}

TEST(TakeSamplesTest, ASampleThatFailsEndsItWithoutASleep) {
    const Course course = RunCourse({0, 2, "", false}, 5);
    EXPECT_FALSE(course.good);
    EXPECT_EQ(course.done, "s7s");
}

}  // namespace
}  // namespace zarn
