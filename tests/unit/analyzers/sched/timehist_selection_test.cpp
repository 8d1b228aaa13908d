#include "analyzers/sched/timehist_selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "foundation/numbers.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The times of the chosen rows; each row's is its place among the run times, counted from 0.
std::vector<std::string> Chosen(const std::vector<std::string>& runTimes, std::size_t most,
                                bool* metNoNumber = nullptr) {
    TimehistSelection selection(&TimehistRow::runTime, most);
    for (std::size_t i = 0; i < runTimes.size(); ++i) {
        const std::string time = std::to_string(i);
        selection.Offer({time, "[0000]", "a[1]", "0.1", "0.2", runTimes[i]});
    }
    if (metNoNumber != nullptr) {
        *metNoNumber = selection.MetNoNumber();
    }
    std::vector<std::string> times;
    for (const KeptTimehistRow& kept : selection.Take()) {
        times.emplace_back(kept.Row().time);
    }
    return times;
}

TEST(KeptTimehistRowTest, KeepsEachColumn) {
    const KeptTimehistRow kept({"1.5", "[0001]", "my task[2]", "", "0.2", "0.3"});
    const std::vector<KeptTimehistRow> copies(3, kept);
    const TimehistRow row = copies[2].Row();
    EXPECT_EQ(row.time, "1.5");
    EXPECT_EQ(row.cpu, "[0001]");
    EXPECT_EQ(row.task, "my task[2]");
    EXPECT_EQ(row.waitTime, "");
    EXPECT_EQ(row.schedDelay, "0.2");
    EXPECT_EQ(row.runTime, "0.3");
}

TEST(TimehistSelectionTest, TheGreatestComeFirst) {
    const std::vector<std::string> times = {"1.5", "0.5", "20", "3"};
    EXPECT_THAT(Chosen(times, 10), ElementsAre("2", "3", "0", "1"));
    EXPECT_THAT(Chosen(times, 2), ElementsAre("2", "3"));
    EXPECT_THAT(Chosen(times, 0), IsEmpty());
    EXPECT_THAT(Chosen({}, 3), IsEmpty());
}

TEST(TimehistSelectionTest, EqualOnesKeepTheirOrder) {
    EXPECT_THAT(Chosen({"1", "2", "1.0", "2", "1"}, 3), ElementsAre("1", "3", "0"));
    EXPECT_THAT(Chosen({"1", "2", "1.0", "2", "1"}, 9), ElementsAre("1", "3", "0", "2", "4"));
}

TEST(TimehistSelectionTest, WhatIsNoNumberComesLast) {
    bool met = false;
    EXPECT_THAT(Chosen({"x", "-5", "nan", "inf", "1"}, 9, &met),
                ElementsAre("3", "4", "1", "0", "2"));
    EXPECT_TRUE(met);
    EXPECT_THAT(Chosen({"x", "", "-5", std::string(400, '9')}, 2, &met), ElementsAre("2", "0"));
    EXPECT_TRUE(met);
    EXPECT_THAT(Chosen({"1", "2"}, 1, &met), ElementsAre("1"));
    EXPECT_FALSE(met);
}

TEST(TimehistSelectionTest, AnotherColumnCanDecide) {
    TimehistSelection selection(&TimehistRow::schedDelay, 1);
    selection.Offer({"0", "[0000]", "a[1]", "1", "2", "9"});
    selection.Offer({"1", "[0000]", "a[1]", "1", "3", "8"});
    EXPECT_EQ(selection.Take().front().Row().time, "1");
}

// Whatever the rows, the choice is the beginning of what a stable sort gives.
TEST(TimehistSelectionTest, AgreesWithAStableSort) {
    std::mt19937 random(7);
    for (std::size_t most = 0; most < 40; ++most) {
        std::vector<std::string> runTimes(30);
        for (std::string& text : runTimes) {
            const auto number = random() % 12;
            text = number == 0 ? "nan" : std::to_string(number);
        }
        std::vector<std::size_t> order(runTimes.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            order[i] = i;
        }
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return NumberIn(runTimes[a]).value_or(-1) > NumberIn(runTimes[b]).value_or(-1);
        });
        order.resize(std::min(most, order.size()));
        std::vector<std::string> expected;
        for (const std::size_t place : order) {
            expected.push_back(std::to_string(place));
        }
        EXPECT_EQ(Chosen(runTimes, most), expected) << most;
    }
}

}  // namespace
}  // namespace zarn::test
