#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "board/perf/processes.h"

namespace zarn::board {
namespace {

TEST(ProgramsOf, AreThoseThatTheServerStarted) {
    const auto state = std::make_unique<BoardState>();
    const auto self = static_cast<std::uint32_t>(::getpid());
    const auto parent = static_cast<std::uint32_t>(::getppid());
    state->scenario.programs.count = 3;
    state->programPids = {1, ::getpid(), ::getppid()};
    EXPECT_EQ(ProgramsOf(*state, {}), 0U);
    EXPECT_EQ(ProgramsOf(*state, {self}), 2U);
    EXPECT_EQ(ProgramsOf(*state, {self, parent}), 6U);
    state->scenario.programs.count = 2;
    EXPECT_EQ(ProgramsOf(*state, {parent}), 0U);
    EXPECT_EQ(ProgramsOf(*state, {self, 2147483647}), std::nullopt);
}

}  // namespace
}  // namespace zarn::board
