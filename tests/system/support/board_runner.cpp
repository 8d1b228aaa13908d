#include "tests/system/support/board_runner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "formats/run_tree.h"
#include "foundation/command_runner.h"
#include "tests/support/lines.h"
#include "tests/system/support/programs.h"

namespace zarn::test {

int BoardRunner::Shell(const std::string& script) const {
    const int status = SystemCommandRunner().Run(
        "cd '" + directory_.Path() +
        "' && mkdir -p tmp && export TMPDIR=$PWD/tmp ASAN_OPTIONS=detect_leaks=0 && { " + script +
        "\n}");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int BoardRunner::Run(const std::string& config, const BoardRun& run) const {
    const std::string here = "'" + directory_.Path();
    const std::string program = "zarn /opt/usr/config.json >" + here + "out' 2>" + here + "err'";
    directory_.Write("usr/config.json", config);
    directory_.Write(
        "go",
        run.before + "\n" + (run.watcher.empty() ? program : WatchedScript(program, run.watcher)));
    return Shell(BoardLauncher() + " --opt-usr usr " + run.options + " -- bash " + here + "go'");
}

std::string BoardRunner::Err() const {
    std::string lines;
    for (const std::string& line : LinesIn(directory_.Read("err"))) {
        lines += line.find("[ZarnManager] Create ") == 0 ? "" : line + "\n";
    }
    return lines;
}

RunTree BoardRunner::Tree(const std::string& usr) const {
    const std::string runs =
        usr + std::string(run_tree::kRoot).substr(std::string("/opt/usr").size());
    const std::vector<std::string> names = RunTree(directory_.Path()).NamesIn(runs);
    EXPECT_FALSE(names.empty()) << "no run directory in " << usr;
    return RunTree(directory_.Path() + runs + (names.empty() ? "" : names.back() + "/"));
}

}  // namespace zarn::test
