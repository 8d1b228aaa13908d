#include "collectors/system/cpu_peak/core_load.h"

#include <gmock/gmock.h>

#include <vector>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Shares {
    bool whole = false;
    std::vector<float> shares = {0.5F};
};

Shares SharesOf(const std::vector<CoreCounts>& before, const std::vector<CoreCounts>& after) {
    Shares result;
    result.whole = IdleShares(before, after, result.shares);
    return result;
}

TEST(CoreLoadTest, TheIdleShareIsThatOfTheTimeBetweenTheReadings) {
    const Shares shares = SharesOf({{100, 1000}, {0, 0}}, {{125, 1100}, {30, 30}});
    EXPECT_TRUE(shares.whole);
    EXPECT_THAT(shares.shares, ElementsAre(0.25F, 1.0F));
}

TEST(CoreLoadTest, CountsThatWrappedAroundAreTheirDifference) {
    EXPECT_THAT(SharesOf({{4294967290U, 4294967200U}}, {{4, 0}}).shares, ElementsAre(10 / 96.0F));
}

TEST(CoreLoadTest, ATotalThatStoodStillEndsTheShares) {
    const Shares shares = SharesOf({{1, 10}, {2, 20}, {3, 30}}, {{6, 20}, {2, 20}, {13, 40}});
    EXPECT_FALSE(shares.whole);
    EXPECT_THAT(shares.shares, ElementsAre(0.5F));
}

TEST(CoreLoadTest, ATotalThatWentBackIsOneThatStoodStill) {
    EXPECT_FALSE(SharesOf({{5, 10}}, {{5, 9}}).whole);
    EXPECT_THAT(SharesOf({{5, 10}}, {{5, 9}}).shares, IsEmpty());
    EXPECT_FALSE(SharesOf({{0, 0}}, {{0, 2147483648U}}).whole);
    EXPECT_TRUE(SharesOf({{0, 0}}, {{0, 2147483647U}}).whole);
}

// An idle count that went back is as good as one that wrapped around: such a core is most idle.
TEST(CoreLoadTest, AnIdleCountThatWentBackMakesAQuietCore) {
    const Shares shares = SharesOf({{5, 10}, {0, 0}}, {{4, 20}, {10, 10}});
    ASSERT_EQ(shares.shares.size(), 2U);
    EXPECT_GT(shares.shares[0], 1.0F);
    EXPECT_EQ(ChooseCores(shares.shares, 0.5F).quiet, 0U);
}

TEST(CoreLoadTest, OfReadingsOfDifferentLengthTheShorterCounts) {
    EXPECT_THAT(SharesOf({{0, 0}, {0, 0}}, {{1, 2}}).shares, ElementsAre(0.5F));
    EXPECT_THAT(SharesOf({{0, 0}}, {{1, 2}, {1, 2}}).shares, ElementsAre(0.5F));
    EXPECT_TRUE(SharesOf({}, {{1, 2}}).whole);
    EXPECT_THAT(SharesOf({}, {{1, 2}}).shares, IsEmpty());
}

// The kernel has a column of its own for waiting, beside the idle one.
TEST(CoreLoadTest, WaitingForInputAndOutputIsNoIdling) {
    std::vector<CoreCounts> before;
    std::vector<CoreCounts> after;
    ASSERT_EQ(ParseStatCounts("cpu\ncpu0 0 0 0 0 0\n", 1, before), StatResult::Ok);
    ASSERT_EQ(ParseStatCounts("cpu\ncpu0 0 0 0 1 9\n", 1, after), StatResult::Ok);
    EXPECT_EQ(ChooseCores(SharesOf(before, after).shares, 0.2F).busy, "0");
}

TEST(CoreLoadTest, CoresBelowTheLimitAreBusyAndTheMostIdleOneIsQuiet) {
    const CoreChoice choice = ChooseCores({0.1F, 0.6F, 0.0F, 0.9F, 0.9F}, 0.2F);
    EXPECT_EQ(choice.busy, "0,2");
    EXPECT_EQ(choice.quiet, 3U);
}

TEST(CoreLoadTest, ACoreAtTheLimitIsNotBusy) {
    const CoreChoice choice = ChooseCores({0.2F}, 0.2F);
    EXPECT_EQ(choice.busy, "");
    EXPECT_EQ(choice.quiet, 0U);
}

TEST(CoreLoadTest, WhenAllAreBusyNoneIsQuiet) {
    const CoreChoice choice = ChooseCores({0.1F, 0.0F}, 0.2F);
    EXPECT_EQ(choice.busy, "0,1");
    EXPECT_FALSE(choice.quiet);
}

// A core that idles not at all is no quiet one, whatever the limit.
TEST(CoreLoadTest, ALimitOfNothingLeavesAllUnrecorded) {
    const CoreChoice choice = ChooseCores({0.0F, 0.0F}, 0.0F);
    EXPECT_EQ(choice.busy, "");
    EXPECT_FALSE(choice.quiet);
}

TEST(CoreLoadTest, ALimitOfAllTakesEveryCoreWithAnyUse) {
    const CoreChoice choice = ChooseCores({1.0F, 0.999F, 0.0F}, 1.0F);
    EXPECT_EQ(choice.busy, "1,2");
    EXPECT_EQ(choice.quiet, 0U);
}

TEST(CoreLoadTest, ManyCores) {
    const CoreChoice choice = ChooseCores(std::vector<float>(256, 0.0F), 0.5F);
    EXPECT_EQ(choice.busy.substr(0, 10), "0,1,2,3,4,");
    EXPECT_EQ(choice.busy.size(), 913U);
    EXPECT_FALSE(choice.quiet);
}

}  // namespace
}  // namespace zarn
