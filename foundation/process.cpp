#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <string_view>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/memory.h"

// The one file of the program that starts processes.
namespace zarn {
namespace {

// What the shell's exit status is if it cannot be executed, as a wait status.
constexpr int kNoShell = 127 << 8;

bool IsLocaleOfMessages(std::string_view entry) {
    return entry.substr(0, 7) == "LC_ALL=" || entry.substr(0, 9) == "LANGUAGE=";
}

// The caller's environment with the locale of the children put in its place. The strings belong to
// the process environment; the list ends in a null pointer.
std::vector<char*> ChildEnvironment() {
    static char locale[] = "LC_ALL=C";
    std::vector<char*> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (!IsLocaleOfMessages(*entry)) {
            environment.push_back(*entry);
        }
    }
    environment.push_back(locale);
    environment.push_back(nullptr);
    return environment;
}

// What posix_spawn is told about a child: its standard output and its signals.
class SpawnPlan {
public:
    // The standard output becomes `outputFd` unless that is negative.
    explicit SpawnPlan(int outputFd) {
        valid_ = ::posix_spawn_file_actions_init(&actions_) == 0 &&
                 ::posix_spawnattr_init(&attributes_) == 0;
        if (valid_ && outputFd >= 0) {
            valid_ = ::posix_spawn_file_actions_adddup2(&actions_, outputFd, STDOUT_FILENO) == 0;
        }
        // A tool is stopped by signals, so it must not inherit that they are ignored or blocked.
        sigset_t reset;
        ::sigemptyset(&reset);
        ::posix_spawnattr_setsigmask(&attributes_, &reset);
        for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGCHLD}) {
            ::sigaddset(&reset, signal);
        }
        ::posix_spawnattr_setsigdefault(&attributes_, &reset);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&actions_);
    }

    // 0 and the pid, or the error.
    int Spawn(const char* path, char* const* arguments, char* const* environment, pid_t& pid) {
        return valid_ ? ::posix_spawn(&pid, path, &actions_, &attributes_, arguments, environment)
                      : ENOMEM;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
    bool valid_ = false;
};

// Starts the shell on `command`, see SpawnPlan. Returns 0 and the pid, or the error.
int StartShell(const std::string& command, int outputFd, pid_t& pid) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
    const std::vector<char*> environment = ChildEnvironment();
    return SpawnPlan(outputFd).Spawn("/bin/sh", arguments.data(), environment.data(), pid);
}

// The wait status of the child; an interrupted wait goes on. -1 if there is no such child.
int WaitFor(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

// Hands everything that can be read from `fd` until its end to `take`. False if memory does not
// suffice for taking it.
bool ReadToEnd(int fd, const CommandRunner::Sink& take) {
    std::array<char, 65536> buffer{};
    try {
        while (true) {
            const ssize_t got = ::read(fd, buffer.data(), buffer.size());
            if (got > 0) {
                take({buffer.data(), static_cast<std::size_t>(got)});
            } else if (got == 0 || errno != EINTR) {
                return true;
            }
        }
    } catch (const std::exception&) {
        return false;
    }
}

// Commands through the shell of this machine.
class ShellRunner final : public CommandRunner {
public:
    ShellRunner() {
        // A process started with its children's ends ignored would never learn their status.
        struct sigaction current {};
        if (::sigaction(SIGCHLD, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
            current.sa_handler = SIG_DFL;
            ::sigaction(SIGCHLD, &current, nullptr);
        }
    }

    int Run(const std::string& command) override {
        pid_t pid = -1;
        const int error = StartShell(command, -1, pid);
        if (error != 0) {
            return error == EAGAIN || error == ENOMEM ? -1 : kNoShell;
        }
        return WaitFor(pid);
    }

    bool Capture(const std::string& command, std::string& output) override {
        const std::size_t before = output.size();
        const bool complete = Stream(command, [&output](std::string_view piece) {
            MakeRoom(output, piece.size());
            output.append(piece);
        });
        if (!complete) {
            output.resize(before);
            output.shrink_to_fit();
        }
        return complete;
    }

    bool Stream(const std::string& command, const Sink& take) override {
        std::array<int, 2> pipeEnds{};
        if (::pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
            return false;
        }
        pid_t pid = -1;
        const bool started = StartShell(command, pipeEnds[1], pid) == 0;
        ::close(pipeEnds[1]);
        const bool complete = started && ReadToEnd(pipeEnds[0], take);
        ::close(pipeEnds[0]);
        if (started) {
            WaitFor(pid);
        }
        return complete;
    }
};

}  // namespace

CommandRunner& SystemCommandRunner() {
    static ShellRunner runner;
    return runner;
}

}  // namespace zarn
