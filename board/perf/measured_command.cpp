#include "board/perf/measured_command.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <ctime>

#include "board/launcher/child.h"
#include "foundation/console.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kMsPerSecond = 1000;
constexpr long kNsPerMs = 1000000;

sigset_t Awaited() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : {SIGCHLD, SIGINT, SIGTERM}) {
        ::sigaddset(&set, signal);
    }
    return set;
}

}  // namespace

std::optional<MeasuredCommand> MeasuredCommand::Start(const std::vector<std::string>& words) {
    MeasuredCommand command;
    // Who starts programs in the background has them ignore interrupts; a measurement takes them.
    for (const int signal : {SIGCHLD, SIGINT, SIGTERM}) {
        ::signal(signal, SIG_DFL);
    }
    const sigset_t awaited = Awaited();
    ::sigprocmask(SIG_BLOCK, &awaited, nullptr);
    if (words.empty()) {
        return command;
    }
    command.name_ = words.front();
    const bool isPath = command.name_.find('/') != std::string::npos;
    if (isPath ? ::access(command.name_.c_str(), F_OK) != 0 : !IsInPath(command.name_, F_OK)) {
        PrintError("Workload failed: No such file or directory");
        return std::nullopt;
    }
    command.child_ = StartChild([&] {
        const sigset_t unblocked = Awaited();
        ::sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
        return Become(words);
    });
    if (command.child_ < 0) {
        PrintError("Workload failed: Resource temporarily unavailable");
        return std::nullopt;
    }
    return command;
}

MeasuredCommand::Wake MeasuredCommand::Wait(std::optional<std::uint64_t> milliseconds) {
    const sigset_t awaited = Awaited();
    const std::uint64_t ms = milliseconds.value_or(0);
    const timespec limit{static_cast<time_t>(ms / kMsPerSecond),
                         static_cast<long>(ms % kMsPerSecond) * kNsPerMs};
    const int got =
        milliseconds ? ::sigtimedwait(&awaited, nullptr, &limit) : ::sigwaitinfo(&awaited, nullptr);
    if (got == SIGINT || got == SIGTERM) {
        interrupt_ = got;
        return Wake::Interrupted;
    }
    if (got == SIGCHLD && child_ > 0 && ::waitpid(child_, &ended_, WNOHANG) == child_) {
        child_ = 0;
        return Wake::Ended;
    }
    return Wake::Time;
}

int MeasuredCommand::Finish() {
    if (child_ > 0) {
        ::kill(child_, SIGTERM);
        (void)WaitForChild(child_);
    }
    if (interrupt_ != 0) {
        const sigset_t awaited = Awaited();
        ::sigprocmask(SIG_UNBLOCK, &awaited, nullptr);
        ::raise(interrupt_);
    }
    if (WIFSIGNALED(ended_)) {
        PrintError(name_ + ": " + ::strsignal(WTERMSIG(ended_)));
    }
    return WEXITSTATUS(ended_);
}

}  // namespace zarn::board
