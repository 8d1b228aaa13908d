// zarn-board-server: makes a virtual board and writes its moving files, as long as somebody holds
// the other end of its standard input. Called by zarn-board; `table`, `events`, `buffers`,
// `sched`, `bursts` and `status` are for users, too, `trace` is the work of the board's profiling
// tool. Exit status: 0, 1 if the work fails, 2 for a wrong call.

#include <poll.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "board/server/board_folder.h"
#include "board/server/engine_trace.h"
#include "board/server/questions.h"
#include "board/server/server_process.h"
#include "board/server/serving.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

constexpr const char* kUsage =
    "usage: zarn-board-server create STATE SCENARIO SEED [FAULTS]\n"
    "       zarn-board-server serve|serve-once FOLDER DATA SCENARIO SEED [FAULTS]\n"
    "       zarn-board-server table STATE MILLISECONDS...\n"
    "       zarn-board-server events STATE MILLISECONDS...\n"
    "       zarn-board-server buffers STATE [MICROSECONDS...]\n"
    "       zarn-board-server sched|bursts STATE FROM_US TO_US\n"
    "       zarn-board-server status STATE\n"
    "       zarn-board-server trace STATE FOLDER\n"
    "       zarn-board-server account STATE\n"
    "       zarn-board-server truth SCENARIO SEED -a|-C CORE|-p PROGRAM FROM_MS TO_MS";

int Create(const Arguments& arguments) {
    const BoardSource source{"", arguments[1], arguments[2],
                             arguments.size() > 3 ? arguments[3] : ""};
    return CreateState(arguments[0], source) ? 0 : 1;
}

// The words from `first` on: where the board's files come from, its scenario, seed and faults.
BoardSource SourceIn(const Arguments& arguments, std::size_t first) {
    return {arguments[first], arguments[first + 1], arguments[first + 2],
            arguments.size() > first + 3 ? arguments[first + 3] : ""};
}

int Serve(const Arguments& arguments) {
    return ServeBoard(arguments[0], SourceIn(arguments, 1), false);
}

int ServeOnce(const Arguments& arguments) {
    return ServeBoard(arguments[0], SourceIn(arguments, 1), true);
}

// Passes on what comes on standard input within so many milliseconds. False at its end, or after a
// signal to end.
bool PassOn(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, milliseconds) <= 0) {
        return !IsToldToEnd();
    }
    std::array<char, 4096> bytes{};
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    for (ssize_t done = 0; done < got;) {
        const ssize_t written =
            ::write(STDOUT_FILENO, bytes.data() + done, static_cast<std::size_t>(got - done));
        done = written < 0 ? got : done + written;
    }
    return got > 0;
}

// Traces the image engines until standard input ends, and leaves the slices in a folder.
int Trace(const Arguments& arguments) {
    SetSignals();
    BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    EngineTrace trace;
    std::uint64_t timeMs = 0;
    do {
        timeMs = BoardTimeMs(*state);
        const BoardLock lock(*state);
        trace.TakeUntil(*state, timeMs);
    } while (PassOn(static_cast<int>(kTickMs - timeMs % kTickMs)));
    for (const auto& [name, text] : {std::pair("/imgp.data.0.slice_0", trace.DataSlice()),
                                     std::pair("/imgp.vpc.0.slice_0", trace.VpcSlice())}) {
        if (WriteFile(arguments[1] + name, text) != FileResult::Ok) {
            return Fail("cannot write " + arguments[1] + name);
        }
    }
    return 0;
}

// A command of the program and how many arguments it takes.
struct Command {
    std::string_view name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&);
};

constexpr std::array<Command, 12> kCommands{{
    {"create", 3, 4, Create},
    {"serve", 4, 5, Serve},
    {"serve-once", 4, 5, ServeOnce},
    {"table", 2, 1000000, PrintTable},
    {"events", 2, 1000000, PrintEvents},
    {"buffers", 1, 1000000, PrintBuffers},
    {"sched", 3, 3, PrintSched},
    {"bursts", 3, 3, PrintBursts},
    {"status", 1, 1, PrintStatus},
    {"trace", 2, 2, Trace},
    {"account", 1, 1, PrintAccount},
    {"truth", 5, 6, PrintTruth},
}};

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    using namespace zarn::board;  // the program is made of this namespace
    const std::vector<std::string> words(argv + 1, argv + argc);
    const Arguments arguments(words.begin() + (words.empty() ? 0 : 1), words.end());
    int status = kWrongCall;
    for (const Command& command : kCommands) {
        const bool isNamed = !words.empty() && words[0] == command.name;
        if (isNamed && arguments.size() >= command.least && arguments.size() <= command.most) {
            status = command.run(arguments);
        }
    }
    if (status == kWrongCall) {
        zarn::PrintError(kUsage);
    }
    return status;
}
