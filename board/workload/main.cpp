// board_workload: a program of known behaviour, for those who trace and profile on the board: does
// what its first word says and tells its own account of it.

#include <unistd.h>

#include <string>
#include <vector>

#include "board/workload/modes.h"
#include "board/workload/tell.h"

namespace {

struct Mode {
    const char* name;
    const char* words;  // that it takes
    int (*run)(const std::vector<std::string>& words);
};

constexpr Mode kModes[] = {
    {"calls", "COUNT [untraced]", zarn::board::RunCallBatch},
};

int Run(const std::string& name, const std::vector<std::string>& words) {
    for (const Mode& mode : kModes) {
        const int status = mode.name == name ? mode.run(words) : zarn::board::kBadCall;
        if (status != zarn::board::kBadCall) {
            return status;
        }
    }
    std::string usage;
    for (const Mode& mode : kModes) {
        usage += std::string("usage: board_workload ") + mode.name + " " + mode.words + "\n";
    }
    zarn::board::Tell(STDERR_FILENO, usage);
    return zarn::board::kBadCall;
}

}  // namespace

int main(int argc, char** argv) {
    return argc < 2 ? Run("", {}) : Run(argv[1], {argv + 2, argv + argc});
}
