// zarn-board-server: makes the state of a virtual board and writes its moving files. Called by
// zarn-board; `table` and `status` are for users, too. Exit status: 0, 1 if the work fails, 2 for a
// wrong call.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "board/server/board_files.h"
#include "board/setup/scenario_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr const char* kUsage =
    "usage: zarn-board-server create STATE SCENARIO SEED [FAULTS]\n"
    "       zarn-board-server serve STATE FILES\n"
    "       zarn-board-server table STATE MILLISECONDS...\n"
    "       zarn-board-server status STATE";

using Arguments = std::vector<std::string>;

volatile std::sig_atomic_t stopped = 0;

int Fail(const std::string& text) {
    PrintError("zarn-board-server: " + text);
    return 1;
}

int Create(const Arguments& arguments) {
    const auto state = std::make_unique<BoardState>();
    std::string text;
    if (ReadFile(arguments[1], text) != FileResult::Ok) {
        return Fail("cannot read the scenario " + arguments[1]);
    }
    if (const auto reason = ParseScenario(text, *state)) {
        return Fail(arguments[1] + ": " + *reason);
    }
    if (!IsDigitString(arguments[2]) || !StringToUint64(arguments[2], state->seed)) {
        return Fail("the seed must be a whole number: " + arguments[2]);
    }
    if (arguments.size() > 3) {
        if (ReadFile(arguments[3], text) != FileResult::Ok) {
            return Fail("cannot read the fault plan " + arguments[3]);
        }
        if (const auto reason = ParseFaultPlan(text, state->faults)) {
            return Fail(arguments[3] + ": " + *reason);
        }
    }
    return CreateBoardState(arguments[0].c_str(), *state) ? 0
                                                          : Fail("cannot write " + arguments[0]);
}

// Puts a file in the place of another in one step, so that a reader never sees a part of it.
bool ReplaceFile(const std::string& path, const std::string& text) {
    const std::string fresh = path + ".new";
    return WriteFile(fresh, text) == FileResult::Ok &&
           std::rename(fresh.c_str(), path.c_str()) == 0;
}

// The files that stay as they are while the server runs. They name its process.
bool LayProcessFiles(const std::string& files) {
    const std::int32_t self = ::getpid();
    const std::string task = files + "/proc/xsmem/task/" + std::to_string(self);
    std::error_code error;
    std::filesystem::create_directories(task, error);
    std::filesystem::create_directories(files + "/proc/sharepool", error);
    std::filesystem::create_directories(files + "/proc/qos/bwstat", error);
    return ReplaceFile(task + "/summary", BufferGroupsText(self)) &&
           ReplaceFile(files + "/proc/sharepool/proc_stat", SharePoolText(self));
}

// Writes the table at each tick of the board, and soon after a setting changes, until it is told
// to stop.
int WriteTables(BoardState& state, const std::string& files) {
    const std::string path = files + "/proc/qos/bwstat/bandwidth";
    bool isReady = false;
    while (stopped == 0) {
        std::string table;
        std::uint32_t generation = 0;
        const std::uint64_t now = BoardTimeMs(state);
        {
            const BoardLock lock(state);
            generation = state.generation;
            table = BandwidthTable(state, now);
        }
        if (!ReplaceFile(path, table)) {
            return Fail("cannot write " + path);
        }
        if (!isReady) {
            PrintLine("ready");
            isReady = true;
        }
        WaitForChange(state, generation, static_cast<std::uint32_t>(kTickMs - now % kTickMs));
    }
    return 0;
}

// Ends with the process that started it; what interrupts the board's command does not end it.
void SetSignals() {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = 1; };
    ::sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
}

// Waits until this is the board's only server; says on standard output when another one is at work.
// False when told to stop.
bool BecomeServer(int lockFile) {
    if (::flock(lockFile, LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    PrintLine("standing by");
    while (stopped == 0) {
        if (::flock(lockFile, LOCK_EX) == 0) {
            return true;
        }
        if (errno != EINTR) {
            return false;
        }
    }
    return false;
}

int Serve(const Arguments& arguments) {
    SetSignals();
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    const int lockFile =
        ::open((arguments[0] + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFile < 0) {
        return Fail("cannot lock " + arguments[0]);
    }
    if (!BecomeServer(lockFile)) {
        return stopped != 0 ? 0 : Fail("cannot lock " + arguments[0]);
    }
    if (!LayProcessFiles(arguments[1])) {
        return Fail("cannot write below " + arguments[1]);
    }
    {
        const BoardLock lock(*state);
        state->serverPid = ::getpid();
    }
    return WriteTables(*state, arguments[1]);
}

int Table(const Arguments& arguments) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    std::string tables;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::uint64_t timeMs = 0;
        if (!IsDigitString(arguments[i]) || !StringToUint64(arguments[i], timeMs)) {
            return Fail("no time in milliseconds: " + arguments[i]);
        }
        const BoardLock lock(*state);
        tables += BandwidthTable(*state, timeMs);
    }
    tables.pop_back();
    PrintLine(tables);
    return 0;
}

int Status(const Arguments& arguments) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    const BoardLock lock(*state);
    std::string text = StatusText(*state);
    text.pop_back();
    PrintLine(text);
    return 0;
}

// A command of the program and how many arguments it takes.
struct Command {
    std::string_view name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&);
};

constexpr std::array<Command, 4> kCommands{{
    {"create", 3, 4, Create},
    {"serve", 2, 2, Serve},
    {"table", 2, 1000000, Table},
    {"status", 1, 1, Status},
}};

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    using namespace zarn::board;  // the program is made of this namespace
    const std::vector<std::string> words(argv + 1, argv + argc);
    const Arguments arguments(words.begin() + (words.empty() ? 0 : 1), words.end());
    for (const Command& command : kCommands) {
        const bool isNamed = !words.empty() && words[0] == command.name;
        if (isNamed && arguments.size() >= command.least && arguments.size() <= command.most) {
            return command.run(arguments);
        }
    }
    zarn::PrintError(kUsage);
    return 2;
}
