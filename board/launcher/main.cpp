// zarn-board: runs a command on a virtual board: the board's kernel files, platform tools, device
// libraries and /opt/usr, on a plain Linux machine, without root. docs/board.md tells how to use
// it.

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "board/launcher/child.h"
#include "board/launcher/enter.h"
#include "board/launcher/installation.h"
#include "board/launcher/options.h"
#include "board/launcher/served_board.h"
#include "board/launcher/view.h"
#include "board/launcher/ways.h"
#include "board/perf/perf_variable.h"
#include "foundation/console.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

int Fail(const std::string& text) {
    PrintError("zarn-board: " + text);
    return 1;
}

// The path of a folder, without links in it, which is made if it is not there; "" after a line.
std::string FolderOf(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    const fs::path real = error ? fs::path() : fs::canonical(path, error);
    if (error) {
        Fail("cannot make " + path + ": " + error.message());
        return "";
    }
    return real.string();
}

// Goes to the folder in which the command is to run. What of the stress benchmark is there already
// stays.
bool EnterWorkdir(const std::string& path, const Installation& installation) {
    const std::string folder = FolderOf(path);
    std::error_code error;
    for (const char* part : {"/bin/stress_benchmark", "/config/Config.yaml"}) {
        const fs::path to = folder + "/virtual_node" + part;
        fs::create_directories(to.parent_path(), error);
        fs::copy_file(installation.bench + part, to, fs::copy_options::skip_existing, error);
        if (folder.empty() || error) {
            return folder.empty()
                       ? false
                       : Fail("cannot make " + to.string() + ": " + error.message()) == 0;
        }
    }
    return ::chdir(folder.c_str()) == 0;
}

void SetEnvironment(const LauncherOptions& options, const ServedBoard& board,
                    const Installation& installation) {
    if (!options.perf.empty()) {
        ::setenv(kPerfVariable, options.perf.c_str(), 1);
    }
    const char* path = std::getenv("PATH");
    const std::string rest = path == nullptr ? "" : std::string(":") + path;
    ::setenv("VIRTUAL_BOARD_STATE", (board.Folder() + "/state").c_str(), 1);
    const std::string tools = installation.data + "/tools:" +
                              (installation.tools.empty() ? "" : installation.tools + ":");
    ::setenv("PATH", (tools + installation.programs + rest).c_str(), 1);
    // A program with this sanitizer wants its runtime to be the first of all libraries.
    const char* sanitizer = std::getenv("ASAN_OPTIONS");
    const std::string others = sanitizer == nullptr ? "" : std::string(sanitizer) + ":";
    ::setenv("ASAN_OPTIONS", (others + "verify_asan_link_order=0").c_str(), 1);
}

// The signals that the launcher deals with while the command runs.
sigset_t Awaited() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : {SIGCHLD, SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        ::sigaddset(&set, signal);
    }
    return set;
}

// The command's process: its number comes from the guard when there is one.
class Command {
public:
    explicit Command(int numbers) : numbers_(numbers) {}

    // Passes a signal on, but for what the terminal has sent to the command as well.
    void Pass(const siginfo_t& signal) {
        if (signal.si_code == SI_KERNEL) {
            return;
        }
        if (process_ == 0) {
            const std::string number = ReadWord(numbers_);
            process_ =
                number.empty() ? -1 : static_cast<pid_t>(std::strtol(number.c_str(), nullptr, 10));
        }
        if (process_ > 0) {
            ::kill(process_, signal.si_signo);
        }
    }

private:
    int numbers_;
    pid_t process_ = 0;
};

// Deals with the ends of children; true, with its exit status, if the guard's was among them.
bool TakeEnds(pid_t guard, ServedBoard& board, int& status) {
    bool isOver = false;
    int ended = 0;
    for (pid_t child = ::waitpid(-1, &ended, WNOHANG); child > 0;
         child = ::waitpid(-1, &ended, WNOHANG)) {
        board.NoteEnd(child);
        if (child == guard) {
            status = ShellStatus(ended);
            isOver = true;
        }
    }
    return isOver;
}

// Waits until the guard ends, and does meanwhile what a launcher has to do; its exit status.
int Attend(pid_t guard, ServedBoard& board, Command command) {
    constexpr timespec kLook{0, 100000000};
    const sigset_t awaited = Awaited();
    int status = 1;
    while (true) {
        siginfo_t signal{};
        const int got = ::sigtimedwait(&awaited, &signal, &kLook);
        if (got == SIGCHLD) {
            if (TakeEnds(guard, board, status)) {
                return status;
            }
        } else if (got > 0) {
            command.Pass(signal);
        }
        board.CheckHeartbeat();
    }
}

// Ends what a guard that was killed has left.
void EndOrphans(ServedBoard& board) {
    while (KillChildren(board.Server())) {
        board.NoteEnd(::waitpid(-1, nullptr, 0));
    }
}

// Runs the command on the board; its exit status.
int RunCommand(const LauncherOptions& options, const Installation& installation, Paths way,
               ServedBoard& board) {
    const std::string optUsr =
        FolderOf(options.optUsr.empty() ? board.Folder() + "/opt-usr" : options.optUsr);
    if (optUsr.empty() ||
        (!options.workdir.empty() && !EnterWorkdir(options.workdir, installation))) {
        return 1;
    }
    SetEnvironment(options, board, installation);
    const std::optional<Pipe> numbers = MakePipe();
    if (!numbers) {
        return Fail("no pipe can be made");
    }
    const sigset_t awaited = Awaited();
    ::sigprocmask(SIG_BLOCK, &awaited, nullptr);
    const BoardPlaces places{board.Folder(), board.Scratch(), optUsr};
    const pid_t launcher = ::getpid();
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t guard = StartChild([&] {
        return RunOnBoard(way, places, installation, options.command,
                          {board.LifeLine(), numbers->write}, launcher);
    });
    ::close(numbers->write);
    if (guard < 0) {
        return Fail("no process can be started");
    }
    const int status = Attend(guard, board, Command(numbers->read));
    EndOrphans(board);
    return status;
}

int RunBoard(const LauncherOptions& options, const Installation& installation) {
    const auto way = ChooseWay(options.paths, installation);
    if (!way) {
        return 1;
    }
    const auto scenario = FindScenario(installation, options.scenario);
    if (!scenario) {
        return Fail("no such scenario: " + options.scenario + " (--list shows them)");
    }
    ::signal(SIGCHLD, SIG_DFL);
    if (*way == Paths::Namespace && ::geteuid() != 0) {
        // The board's programs, which the server starts, must be open to the command.
        if (const Problem problem = EnterUserNamespace()) {
            return Fail(*problem);
        }
    }
    auto board = ServedBoard::Start(options, installation, *scenario);
    if (!board) {
        return 1;
    }
    const int status = RunCommand(options, installation, *way, *board);
    if (board->End()) {
        PrintError("zarn-board: /opt/usr of the board is kept in " + board->Folder() + "/opt-usr");
    }
    return status;
}

int Doctor(const Installation& installation) {
    const Ways ways{NamespaceObstacle(installation), ProotObstacle()};
    for (const std::string& line : DescribeWays(ways)) {
        PrintLine(line);
    }
    return ways.byNamespace && ways.byProot ? 1 : 0;
}

int Main(const std::vector<std::string>& words) {
    if (!words.empty() && words.front() == kGuardWord) {
        return GuardBehindTracer({words.begin() + 1, words.end()});
    }
    const ParsedCall call = ParseLauncherOptions(words);
    if (!call.options) {
        PrintError(call.problem.empty() ? kLauncherUsage : "zarn-board: " + call.problem);
        return 2;
    }
    if (call.options->action == LauncherOptions::Action::Help) {
        PrintLine(kLauncherUsage);
        return 0;
    }
    const auto installation = FindInstallation(call.options->build);
    if (!installation) {
        std::error_code error;
        const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
        return Fail("no zarn-board-server in " +
                    (call.options->build.empty() ? own.string() : call.options->build) +
                    "; build zarn first");
    }
    if (call.options->action == LauncherOptions::Action::List) {
        for (const std::string& line : ListScenarios(*installation)) {
            PrintLine(line);
        }
        return 0;
    }
    return call.options->action == LauncherOptions::Action::Doctor
               ? Doctor(*installation)
               : RunBoard(*call.options, *installation);
}

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    return zarn::board::Main({argv + 1, argv + argc});
}
