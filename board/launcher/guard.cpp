#include "board/launcher/guard.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
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

// Takes the ends of all children that have ended, and notes that of the one that matters. False if
// there is no child left.
bool TakeEnds(pid_t main, std::optional<int>& status) {
    while (true) {
        int ended = 0;
        const pid_t child = ::waitpid(-1, &ended, WNOHANG);
        if (child == main) {
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

// Makes this process one that takes in orphans and is told of its parent's death. False if that has
// happened already.
bool BecomeGuard(pid_t parent) {
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ::prctl(PR_SET_PDEATHSIG, kParentDied);
    return ::getppid() == parent;
}

// Waits until a child ends or the parent dies; true for the latter.
bool AwaitDeath() {
    sigset_t awaited;
    ::sigemptyset(&awaited);
    ::sigaddset(&awaited, SIGCHLD);
    ::sigaddset(&awaited, kParentDied);
    return ::sigwaitinfo(&awaited, nullptr) == kParentDied;
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

bool KillChildren(pid_t spared) {
    bool isAny = false;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename().string();
        const auto process = static_cast<pid_t>(std::strtol(name.c_str(), nullptr, 10));
        if (IsDigitString(name) && process != spared && ParentOf(name) == ::getpid()) {
            ::kill(process, SIGKILL);
            isAny = true;
        }
    }
    return isAny;
}

int GuardCommand(const std::vector<std::string>& command, const GuardLines& lines, pid_t launcher) {
    if (!BecomeGuard(launcher)) {
        return 1;
    }
    const pid_t guard = ::getpid();
    const pid_t child = StartChild([&] { return RunCommand(command, guard); });
    const std::string number = std::to_string(child) + "\n";
    if (child < 0 || ::write(lines.command, number.data(), number.size()) < 0) {
        return 1;
    }
    ::close(lines.command);
    std::optional<int> status;
    bool isOver = false;
    while (TakeEnds(child, status)) {
        isOver = AwaitDeath() || isOver;
        if (isOver) {
            KillChildren();
        }
    }
    return status.value_or(1);
}

int GuardTracer(const std::function<int(pid_t guard)>& becomeTracer, const GuardLines& lines,
                pid_t launcher) {
    if (!BecomeGuard(launcher)) {
        return 1;
    }
    const pid_t guard = ::getpid();
    const pid_t tracer = StartChild([&] { return becomeTracer(guard); });
    ::close(lines.command);
    if (tracer < 0) {
        return 1;
    }
    std::optional<int> status;
    while (TakeEnds(tracer, status)) {
        if (status) {
            KillChildren();
        }
        if (AwaitDeath() && !status) {
            ::kill(tracer, kEndOfTracer);
        }
    }
    return status.value_or(1);
}

}  // namespace zarn::board
