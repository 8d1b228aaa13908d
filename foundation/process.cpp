#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <vector>

#include "foundation/command_runner.h"

// The one file of the program that starts processes.
namespace zarn {
namespace {

// The caller's environment with the locale of the children put in its place. The strings belong to
// the process environment; the list ends in a null pointer.
std::vector<char*> ChildEnvironment() {
    static char locale[] = "LC_ALL=C";
    std::vector<char*> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (std::string_view(*entry).substr(0, 7) != "LC_ALL=") {
            environment.push_back(*entry);
        }
    }
    environment.push_back(locale);
    environment.push_back(nullptr);
    return environment;
}

// Starts the shell on `command`; its standard output becomes `outputFd` unless that is negative.
// Returns the pid, or -1.
pid_t StartShell(const std::string& command, int outputFd) {
    posix_spawn_file_actions_t actions;
    if (::posix_spawn_file_actions_init(&actions) != 0) {
        return -1;
    }
    if (outputFd >= 0) {
        ::posix_spawn_file_actions_adddup2(&actions, outputFd, STDOUT_FILENO);
    }
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
    std::vector<char*> environment = ChildEnvironment();
    pid_t pid = -1;
    const int result =
        ::posix_spawn(&pid, "/bin/sh", &actions, nullptr, arguments.data(), environment.data());
    ::posix_spawn_file_actions_destroy(&actions);
    return result == 0 ? pid : -1;
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

// Appends everything that can be read from `fd` until its end.
void ReadToEnd(int fd, std::string& output) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        if (got > 0) {
            output.append(buffer.data(), static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return;
        }
    }
}

// Commands through the shell of this machine.
class ShellRunner final : public CommandRunner {
public:
    int Run(const std::string& command) override {
        const pid_t pid = StartShell(command, -1);
        return pid < 0 ? -1 : WaitFor(pid);
    }

    bool Capture(const std::string& command, std::string& output) override {
        std::array<int, 2> pipeEnds{};
        if (::pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
            return false;
        }
        const pid_t pid = StartShell(command, pipeEnds[1]);
        ::close(pipeEnds[1]);
        if (pid >= 0) {
            ReadToEnd(pipeEnds[0], output);
        }
        ::close(pipeEnds[0]);
        return pid >= 0 && WaitFor(pid) >= 0;
    }
};

}  // namespace

CommandRunner& SystemCommandRunner() {
    static ShellRunner runner;
    return runner;
}

}  // namespace zarn
