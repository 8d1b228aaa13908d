#include "collectors/profiling/hot_fun/script_samples.h"

#include <gmock/gmock.h>

#include <string>

#include "foundation/files.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

constexpr std::size_t kSize = test::Amount(16U << 20U);

TEST(SampleHeadTest, HoldsTheCommandAndItsCycles) {
    const auto head = FindSampleHead("planner_node 12009 11581.577997:     250000 cycles: ");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->text, "planner_node 12009 11581.577997:     250000 cycles:");
    EXPECT_EQ(head->name, "planner_node");
    EXPECT_EQ(head->digits, "250000");
    EXPECT_EQ(CyclesOf(*head), 250000U);
}

TEST(SampleHeadTest, OfACommandWithBlanksTheFirstWordCounts) {
    const auto head = FindSampleHead("Web Content 7 1.0:  5 cycles:HG: ");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->name, "Web");
}

TEST(SampleHeadTest, WithoutABlankAllOfItIsTheName) {
    const auto head = FindSampleHead("7\tcycles:");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->name, "7\tcycles:");
}

TEST(SampleHeadTest, TheFirstOfSeveralCountsIsTaken) {
    const auto head = FindSampleHead("a 12 cycles: 34 cycles: x");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->text, "a 12 cycles: 34 cycles:");
    EXPECT_EQ(head->digits, "12");
}

TEST(SampleHeadTest, OtherEventsAreNone) {
    for (const char* line :
         {"", "app 7 1.0:  250000 cpu-clock: ", "app 7 1.0: cycles: ", "app 7 1.0: 5cycles: ",
          "app 7 1.0: 5 cycles ", "app 7 1.0: 5 Cycles: "}) {
        EXPECT_FALSE(FindSampleHead(line)) << line;
    }
    const std::string text =
        test::ReadText(test::DataPath("perf-6.1.187-profile/script_other_event.txt"));
    LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        EXPECT_FALSE(FindSampleHead(line)) << line;
    }
}

TEST(SampleHeadTest, ALineMayHaveAnyLengthAndBytes) {
    for (const char byte : {'\0', ' ', 'c', '5', ':', '\r', '\xff'}) {
        const std::string line(kSize, byte);
        EXPECT_FALSE(FindSampleHead(line)) << static_cast<int>(byte);
        const std::string longer = "app 5 cycles:" + line + "7 cycles:";
        const auto head = FindSampleHead(longer);
        ASSERT_TRUE(head);
        EXPECT_EQ(head->text.size(), byte == '\r' ? 13 : kSize + 22) << static_cast<int>(byte);
        EXPECT_EQ(CyclesOf(*head), 5U);
    }
    std::string events;
    while (events.size() < kSize) {
        events += " cycles:";
    }
    EXPECT_FALSE(FindSampleHead(events));
    events.insert(0, "1");
    const auto head = FindSampleHead(events);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->text, "1 cycles:");
}

TEST(SampleHeadTest, ACountHas64Bits) {
    std::uint64_t cycles = 1;
    const auto read = [&cycles](const std::string& digits) {
        const std::string line = "a " + digits + " cycles:";
        return test::Capture([&] { cycles = CyclesOf(*FindSampleHead(line)); }).err;
    };
    EXPECT_EQ(read("18446744073709551615"), "");
    EXPECT_EQ(cycles, 18446744073709551615U);
    EXPECT_EQ(read("18446744073709551616"), "[Utils] Out of range\n");
    EXPECT_EQ(cycles, 0U);
    EXPECT_EQ(read("000007"), "");
    EXPECT_EQ(cycles, 7U);
}

}  // namespace
}  // namespace zarn
