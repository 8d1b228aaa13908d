#pragma once

#include <string>

#include "tests/support/run_tree.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// The virtual board in a directory of the test: runs the launcher by the shell, the program on
// boards, and knows what they leave there. Temporary files go into the directory's folder "tmp".
//
//     BoardRunner board;
//     BoardRun run;
//     run.options = "--scenario idle";
//     EXPECT_EQ(board.Run(config, run), 0);
//     EXPECT_EQ(board.Err(), "");
//     EXPECT_THAT(board.Tree().Read(ddr_files::kBandwidth), ...);

// How the program is run on a board.
struct BoardRun {
    std::string options = {};  // the launcher's
    std::string before = {};   // a shell script on the board, run first
    // A shell script that runs beside the program on the board and knows it as $zarn, a process
    // group of its own.
    std::string watcher = {};
};

class BoardRunner {
public:
    [[nodiscard]] const TempDir& Files() const { return directory_; }

    // Runs a script of this machine in the directory. The exit status, -1 if a signal ended it.
    [[nodiscard]] int Shell(const std::string& script) const;

    // Runs the program with `config`, the folder "usr" being the board's /opt/usr. The exit status.
    int Run(const std::string& config, const BoardRun& run = {}) const;

    // What the last run printed; the error stream without the lines of the run directory's making.
    [[nodiscard]] std::string Out() const { return directory_.Read("out"); }
    [[nodiscard]] std::string Err() const;

    // The last run's tree in that /opt/usr.
    [[nodiscard]] RunTree Tree(const std::string& usr = "usr") const;

private:
    TempDir directory_;
};

}  // namespace zarn::test
