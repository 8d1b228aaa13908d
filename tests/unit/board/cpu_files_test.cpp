#include "board/server/cpu_files.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/lines.h"
#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

constexpr const char* kTwoProcessors =
    "processor\t: 0\n"
    "model name\t: first\n"
    "physical id\t: 0\n"
    "siblings\t: 2\n"
    "core id\t\t: 0\n"
    "cpu cores\t: 2\n"
    "apicid\t\t: 0\n"
    "initial apicid\t: 0\n"
    "flags\t\t: a b: c\n"
    "\n"
    "processor\t: 1\n"
    "model name\t: second\n"
    "\n";

TEST(CpuinfoTextTest, MoreCoresThanTheMachineHasHaveNumbersOfTheirOwn) {
    EXPECT_EQ(CpuinfoText(kTwoProcessors, 3),
              "processor\t: 0\n"
              "model name\t: first\n"
              "physical id\t: 0\n"
              "siblings\t: 3\n"
              "core id\t\t: 0\n"
              "cpu cores\t: 3\n"
              "apicid\t\t: 0\n"
              "initial apicid\t: 0\n"
              "flags\t\t: a b: c\n"
              "\n"
              "processor\t: 1\n"
              "model name\t: second\n"
              "\n"
              "processor\t: 2\n"
              "model name\t: first\n"
              "physical id\t: 0\n"
              "siblings\t: 3\n"
              "core id\t\t: 2\n"
              "cpu cores\t: 3\n"
              "apicid\t\t: 2\n"
              "initial apicid\t: 2\n"
              "flags\t\t: a b: c\n"
              "\n");
}

TEST(CpuinfoTextTest, AllButTheFirstAreLeftOutOfOneCore) {
    EXPECT_EQ(CpuinfoText("processor\t: 0\nphysical id\t: 3\n\nprocessor\t: 1\n\n", 1),
              "processor\t: 0\nphysical id\t: 0\n\n");
}

// Some machines say at the end what all processors are.
TEST(CpuinfoTextTest, WhatIsNoProcessorStandsBehindThemOnce) {
    EXPECT_EQ(CpuinfoText("processor\t: 0\nBogoMIPS\t: 2\n\nHardware\t: board", 2),
              "processor\t: 0\nBogoMIPS\t: 2\n\nprocessor\t: 1\nBogoMIPS\t: 2\n\n"
              "Hardware\t: board\n");
}

TEST(CpuinfoTextTest, AMachineThatTellsNothingHasCoresAllTheSame) {
    EXPECT_EQ(CpuinfoText("", 2), "processor\t: 0\n\nprocessor\t: 1\n\n");
}

TEST(CoreListTextTest, IsOneNumberOrARange) {
    EXPECT_EQ(CoreListText(1), "0\n");
    EXPECT_EQ(CoreListText(32), "0-31\n");
}

TEST(LayCpuFilesTest, LaysTheFileOfTheMachineAndTheLists) {
    const test::TempDir files;
    files.Write("proc/qos", "");
    ASSERT_TRUE(LayCpuFiles(files.Path(), 3));
    EXPECT_EQ(files.Read("sys/cpu/online"), "0-2\n");
    EXPECT_EQ(files.Read("sys/cpu/possible"), "0-2\n");
    EXPECT_EQ(files.Read("sys/cpu/present"), "0-2\n");
    std::string numbers;
    for (const std::string& line : test::LinesIn(files.Read("proc/cpuinfo"))) {
        numbers += line.rfind("processor", 0) == 0 ? line + "\n" : "";
    }
    EXPECT_EQ(numbers, "processor\t: 0\nprocessor\t: 1\nprocessor\t: 2\n");
    EXPECT_FALSE(LayCpuFiles(files.Path() + "none", 3));
}

}  // namespace
}  // namespace zarn::board
