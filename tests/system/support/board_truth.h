#pragma once

#include <map>
#include <string>

#include "tests/system/support/board_runner.h"

namespace zarn::test {

// What a board's model has a target do in five seconds of a scenario: what measurements on that
// board are held against.
struct BoardTruth {
    std::map<std::string, double> metrics;  // by their full names
    std::string bottleneck;
    std::map<std::string, double> functions;  // shares of the cycles, "PROGRAM FUNCTION"; sum 1
};

// Of the scenario in a file of the board's directory, with the seed that boards have. `target`:
// "-a", "-C CORE" or "-p PROGRAM".
[[nodiscard]] BoardTruth TruthOf(const BoardRunner& board, const std::string& scenario,
                                 const std::string& target);

}  // namespace zarn::test
