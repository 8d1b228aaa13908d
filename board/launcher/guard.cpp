#include "board/launcher/guard.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "board/launcher/child.h"
#include "foundation/files.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr int kParentDied = SIGUSR1;

// The parent of a process, 0 if it is gone.
pid_t ParentOf(const std::string& process) {
    std::string text;
    if (ReadFile("/proc/" + process + "/stat", text) != FileResult::Ok) {
        return 0;
    }
    // "number (name) state parent ...", where the name may hold anything.
    constexpr std::size_t kBehindState = 4;
    const std::size_t name = text.rfind(')');
    return name == std::string::npos || name + kBehindState > text.size()
               ? 0
               : static_cast<pid_t>(std::strtol(text.c_str() + name + kBehindState, nullptr, 10));
}

// Kills the children of this process. As it takes in every orphan below it, nothing is left after
// enough rounds.
void KillChildren() {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename().string();
        if (IsDigitString(name) && ParentOf(name) == ::getpid()) {
            ::kill(static_cast<pid_t>(std::strtol(name.c_str(), nullptr, 10)), SIGKILL);
        }
    }
}

// Takes the ends of all children that have ended, and notes that of the command. False if there is
// no child left.
bool TakeEnds(pid_t command, int& status) {
    while (true) {
        int ended = 0;
        const pid_t child = ::waitpid(-1, &ended, WNOHANG);
        if (child == command) {
            status = ShellStatus(ended);
        }
        if (child == 0) {
            return true;
        }
        if (child < 0 && errno != EINTR) {
            return false;
        }
    }
}

int RunCommand(const std::vector<std::string>& command, pid_t guard) {
    sigset_t none;
    ::sigemptyset(&none);
    for (const int signal : {SIGINT, SIGQUIT}) {
        ::signal(signal, SIG_DFL);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != guard) {
        return 1;
    }
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    return Become(command);
}

}  // namespace

int GuardCommand(const std::vector<std::string>& command, const GuardLines& lines, pid_t launcher) {
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ::prctl(PR_SET_PDEATHSIG, kParentDied);
    if (::getppid() != launcher) {
        return 1;
    }
    const pid_t guard = ::getpid();
    const pid_t child = StartChild([&] { return RunCommand(command, guard); });
    const std::string number = std::to_string(child) + "\n";
    if (child < 0 || ::write(lines.command, number.data(), number.size()) < 0) {
        return 1;
    }
    ::close(lines.command);
    sigset_t awaited;
    ::sigemptyset(&awaited);
    ::sigaddset(&awaited, SIGCHLD);
    ::sigaddset(&awaited, kParentDied);
    int status = 1;
    bool isOver = false;
    while (TakeEnds(child, status)) {
        isOver = ::sigwaitinfo(&awaited, nullptr) == kParentDied || isOver;
        if (isOver) {
            KillChildren();
        }
    }
    return status;
}

}  // namespace zarn::board
