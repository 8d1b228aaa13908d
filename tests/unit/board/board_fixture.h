#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "board/state/board_state.h"
#include "tests/support/temp_dir.h"

namespace zarn::board {

// A virtual board of one test: a state file, to which the environment of this process points.
class OnBoard : public testing::Test {
public:
    OnBoard() { ResetSettings(*initial_); }
    OnBoard(const OnBoard&) = delete;
    OnBoard& operator=(const OnBoard&) = delete;
    ~OnBoard() override { ::unsetenv(kStateVariable); }

protected:
    // Makes the board as `initial_` has it; call once.
    void Start() {
        const std::string path = directory_.Path() + "state";
        ASSERT_TRUE(CreateBoardState(path.c_str(), *initial_));
        ::setenv(kStateVariable, path.c_str(), 1);
        state_ = AttachBoard();
        ASSERT_NE(state_, nullptr);
    }

    test::TempDir directory_;
    std::unique_ptr<BoardState> initial_ = std::make_unique<BoardState>();
    BoardState* state_ = nullptr;
};

}  // namespace zarn::board
