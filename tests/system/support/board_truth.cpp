#include "tests/system/support/board_truth.h"

#include <gtest/gtest.h>

#include "tests/support/lines.h"
#include "tests/system/support/programs.h"

namespace zarn::test {

BoardTruth TruthOf(const BoardRunner& board, const std::string& scenario,
                   const std::string& target) {
    const std::string command = "'" + ProgramPath("zarn-board-server") + "' truth " + scenario +
                                " 1 " + target + " 0 5000 >truth";
    EXPECT_EQ(board.Shell(command), 0) << command;
    BoardTruth truth;
    for (const std::string& line : LinesIn(board.Files().Read("truth"))) {
        const std::size_t colon = line.find(": ");
        if (line.rfind("<==", 0) == 0) {
            truth.bottleneck = line.substr(colon + 2);
        } else if (colon == std::string::npos) {
            const std::size_t blank = line.rfind(' ');
            truth.functions[line.substr(0, blank)] = std::stod(line.substr(blank)) / 100;
        } else if (line.rfind("cycles", 0) != 0) {
            truth.metrics[line.substr(0, colon)] = std::stod(line.substr(colon + 2));
        }
    }
    return truth;
}

}  // namespace zarn::test
