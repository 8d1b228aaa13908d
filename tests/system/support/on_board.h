#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/system/support/board_runner.h"

// Tests that run scripts on the virtual board, in one of the ways to put its paths in their places.
namespace zarn::test {

// What a shell command printed, both streams, and its exit status (-1: ended by a signal).
struct Result {
    std::string text;
    int status = -1;
};

// For whole results in expectations.
bool operator==(const Result& a, const Result& b);

std::ostream& operator<<(std::ostream& out, const Result& result);

// What a way is called in the names of tests.
std::string WayName(const testing::TestParamInfo<const char*>& info);

// The launcher, by the way that is the parameter, run by the shell in a directory of the test,
// where its temporary files go as well.
class Board : public testing::TestWithParam<const char*> {
protected:
    // Skips where this machine does not allow the way.
    void SetUp() override;

    // Runs a shell script in which $BOARD is the launcher by the way of the test and $PROBE the
    // probe; $ANYWAY is the launcher alone, $WITHOUT what forbids ways. $BOARD runs in the
    // background by `in_background ARGUMENT...`, which sets $board to its process, makes the fifos
    // up and go, and waits for a line on up: that the command is there, or that the launcher has
    // ended.
    [[nodiscard]] Result Shell(const std::string& script) const;

    // Runs a script on the board. `await COMMAND...` tries a command, in either script, until it
    // succeeds; one that never does is told.
    [[nodiscard]] Result OnBoard(const std::string& script, const std::string& options = "") const;

    // Nothing of the board is left where temporary files go.
    void ExpectTidy() const;

private:
    BoardRunner runner_;

protected:
    const TempDir& directory_ = runner_.Files();
};

}  // namespace zarn::test
