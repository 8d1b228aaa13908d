#include "board/model/buffers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

namespace zarn::board {
namespace {

constexpr std::uint64_t kSeed = 7;

BufferPools PoolsOf(std::vector<BufferOwner> owners) {
    BufferPools pools;
    pools.ownerCount = static_cast<std::uint32_t>(owners.size());
    std::copy(owners.begin(), owners.end(), pools.owners.begin());
    return pools;
}

BufferOwner OwnerWith(std::uint64_t everyUs, std::uint32_t holdUs, std::uint32_t stuckOneOf) {
    BufferOwner owner;
    owner.everyUs = everyUs;
    owner.holdUs = holdUs;
    owner.stuckOneOf = stuckOneOf;
    return owner;
}

// Moment of the finding, owner, number.
using Found = std::tuple<std::uint64_t, std::size_t, std::uint64_t>;

std::vector<Found> Walk(const BufferPools& pools, const BufferLooks& looks) {
    OverdueWalk walk(pools, kSeed, looks);
    std::vector<Found> found;
    for (OverdueBuffer buffer; walk.Next(buffer);) {
        EXPECT_EQ(buffer.takenUs, OwnerBuffers(pools, buffer.owner, kSeed).TakenUs(buffer.number));
        found.emplace_back(buffer.foundUs, buffer.owner, buffer.number);
    }
    return found;
}

// The same by going from look to look, each time through all buffers.
std::vector<Found> LookByLook(const BufferPools& pools, const BufferLooks& looks) {
    std::vector<Found> found;
    std::set<std::pair<std::size_t, std::uint64_t>> known;
    for (std::uint64_t now = looks.sinceUs; now <= looks.untilUs; now += looks.everyUs) {
        for (std::size_t i = 0; i < pools.ownerCount; ++i) {
            const OwnerBuffers buffers(pools, i, kSeed);
            for (std::uint64_t k = 0; k * pools.owners[i].everyUs <= now && buffers.IsTaken(k);
                 ++k) {
                const std::uint64_t takenUs = buffers.TakenUs(k);
                const bool isHeld =
                    takenUs <= now && (buffers.IsStuck(k) || now < takenUs + buffers.HeldUs(k));
                if (isHeld && now - takenUs >= looks.limitUs && known.insert({i, k}).second) {
                    found.emplace_back(now, i, k);
                }
            }
        }
    }
    return found;
}

TEST(OverdueWalkTest, FindsWhatGoingFromLookToLookFinds) {
    const BufferPools pools = PoolsOf({
        OwnerWith(2000, 4000, 20),  // comes back in time, but for some
        OwnerWith(5000, 9000, 0),   // sometimes late, never stuck
        OwnerWith(7000, 30000, 3),  // mostly late, often stuck
        OwnerWith(40000, 0, 1),     // a leak
        OwnerWith(3000, 4000, 0),   // always in time
    });
    std::size_t found = 0;
    for (const std::uint64_t sinceUs : {0U, 3000U, 50001U, 400000U}) {
        for (const std::uint32_t limitUs : {0U, 10000U, 25000U}) {
            for (const std::uint32_t everyUs : {1000U, 5000U}) {
                const BufferLooks looks{sinceUs, sinceUs + 300000, limitUs, everyUs};
                EXPECT_EQ(Walk(pools, looks), LookByLook(pools, looks))
                    << sinceUs << " " << limitUs << " " << everyUs;
                found += Walk(pools, looks).size();
            }
        }
    }
    EXPECT_GT(found, 1000U);
}

TEST(OverdueWalkTest, ALaterMomentGoesOnWithTheSameBuffers) {
    const BufferPools pools = PoolsOf({OwnerWith(2000, 9000, 20), OwnerWith(40000, 0, 1)});
    const std::vector<Found> early = Walk(pools, {70000, 100000, 10000, 5000});
    const std::vector<Found> late = Walk(pools, {70000, 400000, 10000, 5000});
    ASSERT_GT(late.size(), early.size());
    EXPECT_TRUE(std::equal(early.begin(), early.end(), late.begin()));
}

// But for what was stuck before the first look.
TEST(OverdueWalkTest, ABufferIsFoundBetweenTheLimitAndOneLookLater) {
    const BufferPools pools = PoolsOf({OwnerWith(700, 9000, 20)});
    OverdueWalk walk(pools, kSeed, {50000, 2000000, 10000, 5000});
    std::size_t count = 0;
    for (OverdueBuffer buffer; walk.Next(buffer);) {
        if (buffer.takenUs + 10000 > 50000) {
            EXPECT_GE(buffer.foundUs - buffer.takenUs, 10000U);
            EXPECT_LT(buffer.foundUs - buffer.takenUs, 15000U);
            ++count;
        } else {
            EXPECT_EQ(buffer.foundUs, 50000U);
        }
    }
    EXPECT_GT(count, 50U);
}

TEST(OwnerBuffersTest, OneIsTakenInEachStretchAndOneOfSoManyIsStuck) {
    const BufferPools pools = PoolsOf({OwnerWith(1000, 4000, 8)});
    const OwnerBuffers buffers(pools, 0, kSeed);
    std::uint64_t stuck = 0;
    for (std::uint64_t k = 0; k < 4000; ++k) {
        EXPECT_EQ(buffers.TakenUs(k) / 1000, k);
        EXPECT_GE(buffers.HeldUs(k), 2000U);
        EXPECT_LE(buffers.HeldUs(k), 6000U);
        EXPECT_EQ(buffers.StuckBefore(k), stuck);
        EXPECT_EQ(buffers.NextStuck(k) == k, buffers.IsStuck(k));
        stuck += buffers.IsStuck(k) ? 1U : 0U;
        if (k % 8 == 7) {
            EXPECT_EQ(stuck, k / 8 + 1);
        }
    }
}

TEST(OwnerBuffersTest, APoolFillsWithStuckBuffersUntilNoMoreAreTaken) {
    BufferPools pools = PoolsOf({OwnerWith(1000, 0, 4)});
    pools.blockCount = 16;
    pools.owners[0].most = 12;
    const OwnerBuffers buffers(pools, 0, kSeed);
    std::set<std::uint32_t> stuck;
    std::uint64_t k = 0;
    for (; buffers.IsTaken(k); ++k) {
        EXPECT_LT(buffers.BlockOf(k), 16U);
        EXPECT_EQ(stuck.count(buffers.BlockOf(k)), 0U);
        if (buffers.IsStuck(k)) {
            stuck.insert(buffers.BlockOf(k));
        }
    }
    EXPECT_EQ(stuck.size(), 12U);
    EXPECT_LE(k, 48U);
    EXPECT_EQ(Walk(pools, {0, 1000000, 10000, 5000}).size(), 12U);
}

TEST(OwnerBuffersTest, SeedAndOwnerTellThemApart) {
    const BufferPools pools = PoolsOf({OwnerWith(1000000, 0, 1), OwnerWith(1000000, 0, 1)});
    EXPECT_NE(OwnerBuffers(pools, 0, 1).TakenUs(3), OwnerBuffers(pools, 0, 2).TakenUs(3));
    EXPECT_NE(OwnerBuffers(pools, 0, 1).TakenUs(3), OwnerBuffers(pools, 1, 1).TakenUs(3));
    EXPECT_EQ(OwnerBuffers(pools, 0, 1).TakenUs(3), OwnerBuffers(pools, 0, 1).TakenUs(3));
}

// A query must not take longer the longer the board has been up.
TEST(OverdueWalkTest, AYearOfHealthyBuffersIsPassedOver) {
    const BufferPools pools = PoolsOf({OwnerWith(100, 4000, 0), OwnerWith(100, 30000, 1000000)});
    const std::uint64_t year = 31536000000000;
    OverdueWalk walk(pools, kSeed, {year, year, 10000, 5000});
    std::size_t count = 0;
    for (OverdueBuffer buffer; count < 8192 && walk.Next(buffer);) {
        EXPECT_EQ(buffer.foundUs, year);
        ++count;
    }
    EXPECT_GT(count, 900U);  // the blocks of the second's pool
}

}  // namespace
}  // namespace zarn::board
