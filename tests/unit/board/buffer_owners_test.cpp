#include "board/setup/buffer_owners.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

// A scenario of two programs with that text as its owners.
std::string ScenarioOf(const std::string& owners, const std::string& before = "") {
    return R"({"programs": [{"name": "camera"}, {"name": "planner"}], "buffers": {)" + before +
           R"("owners": )" + owners + "}}";
}

TEST(ReadBuffers, ReadsOwnersBehindTheServersBuffers) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(ParseScenario(ScenarioOf(R"([
        {"program": "planner", "from": "camera", "pool": "frames", "groups": ["a", "b-2"],
         "rate": 400, "hold_ms": 4, "stuck_one_of": 50, "held": 3}, {"program": "camera"}])"),
                            *state),
              std::nullopt);
    const BufferPools& pools = state->scenario.buffers;
    ASSERT_EQ(pools.ownerCount, 6U);
    const BufferOwner& planner = pools.owners[2];
    EXPECT_EQ(planner.holder, 1U);
    EXPECT_EQ(planner.allocator, 0U);
    EXPECT_STREQ(planner.pool.data(), "frames");
    ASSERT_EQ(planner.groupCount, 2U);
    EXPECT_STREQ(planner.groups[1].data(), "b-2");
    EXPECT_EQ(planner.everyUs, 2500U);
    EXPECT_EQ(planner.holdUs, 4000U);
    EXPECT_EQ(planner.stuckOneOf, 50U);
    EXPECT_EQ(planner.most, 1024U - 3U);  // up to 6 ms, one each 2.5 ms: three at a time
    const BufferOwner& held = pools.owners[3];
    EXPECT_EQ(held.holder, 1U);
    EXPECT_EQ(held.allocator, 0U);
    EXPECT_STREQ(held.pool.data(), "frames");
    EXPECT_EQ(held.stuckOneOf, 1U);
    EXPECT_EQ(held.most, 3U);
    const BufferOwner& camera = pools.owners[4];
    EXPECT_EQ(camera.allocator, 0U);
    EXPECT_EQ(camera.everyUs, 0U);
    EXPECT_EQ(camera.groupCount, 0U);
    EXPECT_STREQ(camera.pool.data(), "vboard_pool");
}

struct BadOwners {
    std::string text;
    const char* reason;
};

class OwnersRefused : public testing::TestWithParam<BadOwners> {};

TEST_P(OwnersRefused, WithTheirPlaceAndWhatWasExpected) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(GetParam().text, *state).value_or("taken"), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, OwnersRefused,
    testing::Values(
        BadOwners{ScenarioOf("{}"), "buffers.owners: expected a list of at most 16 entries"},
        BadOwners{ScenarioOf("[1]"), "buffers.owners[0]: expected an object"},
        BadOwners{ScenarioOf("[{}]"), "buffers.owners[0].program: expected the name of a program"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "from": "noone"}])"),
                  "buffers.owners[0].from: expected the name of a program"},
        BadOwners{ScenarioOf(R"([{"program": "camera"}, {"program": "camera"}])"),
                  "buffers.owners[1].program: expected a program once"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "pool": ""}])"),
                  "buffers.owners[0].pool: expected 1 to 31 of A-Z, a-z, 0-9, _ and -"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "groups": ["a("]}])"),
                  "buffers.owners[0].groups: expected names, 1 to 15 of A-Z, a-z, 0-9, _ and -"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "rate": 10001}])"),
                  "buffers.owners[0].rate: expected a whole number from 0 to 10000"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "rate": 10, "hold_ms": 100}])",
                             R"("block_count": 2, )"),
                  "buffers.owners[0].rate: expected no more buffers at a time than the pool has "
                  "blocks"},
        BadOwners{ScenarioOf(R"([{"program": "camera", "leak": 1}])"),
                  "buffers.owners[0].leak: unknown"},
        BadOwners{ScenarioOf("[]", R"("block_count": 2, "held": 3, )"),
                  "buffers.held: expected a whole number from 0 to 2"}));

}  // namespace
}  // namespace zarn::board
