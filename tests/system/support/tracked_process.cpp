#include "tests/system/support/tracked_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace zarn::test {
namespace {

class Fd {
public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() { Close(); }

    void Set(int fd) { fd_ = fd; }
    [[nodiscard]] int Get() const { return fd_; }
    void Close() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = -1;
    }

private:
    int fd_;
};

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        read.Set(ends[0]);
        write.Set(ends[1]);
        // The program must not meet a stream that refuses to wait.
        ::fcntl(ends[1], F_SETFL, ::fcntl(ends[1], F_GETFL) & ~O_NONBLOCK);
    }
    Fd read;
    Fd write;
};

std::vector<char*> Pointers(const std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (const std::string& text : strings) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void BecomeCommand(const TrackedProcess& process, int out, int err) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const Fd nothing(::open("/dev/null", O_RDONLY));
    ::dup2(nothing.Get(), STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    if ((!process.prepare || process.prepare()) && ::chdir(process.workingDirectory.c_str()) == 0) {
        ::execve(process.command.front().c_str(), Pointers(process.command).data(),
                 Pointers(process.environment).data());
    }
    std::perror("the sandbox could not start its command");
    ::_exit(126);
}

// Appends what can be read now; false at the end of the stream.
bool Drain(int fd, std::string& text) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        if (got > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return got < 0;
        }
    }
}

// Deals with the whole lines of `waiting` as far as possible.
void Answer(const TrackedProcess& process, pid_t pid, int answers, const std::string& out,
            std::string& waiting) {
    std::size_t end = waiting.find('\n');
    while (end != std::string::npos && process.onRequest(waiting.substr(0, end), pid, out)) {
        EXPECT_EQ(::write(answers, "done\n", 5), 5);
        waiting.erase(0, end + 1);
        end = waiting.find('\n');
    }
}

constexpr int kAskAgainMs = 20;

// Follows the running process: its streams, its requests, its end.
void Follow(const TrackedProcess& process, pid_t pid, const Pipe& out, const Pipe& err,
            TrackedResult& result) {
    const Fd requests(::open(process.requests.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const Fd answers(::open(process.answers.c_str(), O_RDWR | O_CLOEXEC));
    const Fd end(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    EXPECT_TRUE(requests.Get() >= 0 && answers.Get() >= 0 && end.Get() >= 0)
        << std::strerror(errno);
    std::string waiting;
    std::array<pollfd, 4> events{{{out.read.Get(), POLLIN, 0},
                                  {err.read.Get(), POLLIN, 0},
                                  {requests.Get(), POLLIN, 0},
                                  {end.Get(), POLLIN, 0}}};
    while (events[3].revents == 0) {
        // Who has to put an answer off is asked again, also when no output comes.
        if (::poll(events.data(), events.size(), waiting.empty() ? -1 : kAskAgainMs) < 0) {
            continue;
        }
        // A negative descriptor is passed over by the next poll.
        if (events[0].revents != 0 && !Drain(out.read.Get(), result.out)) {
            events[0].fd = -1;
        }
        if (events[1].revents != 0 && !Drain(err.read.Get(), result.err)) {
            events[1].fd = -1;
        }
        (void)Drain(requests.Get(), waiting);
        Answer(process, pid, answers.Get(), result.out, waiting);
    }
    (void)Drain(out.read.Get(), result.out);
    (void)Drain(err.read.Get(), result.err);
}

}  // namespace

TrackedResult RunTracked(const TrackedProcess& process) {
    TrackedResult result;
    Pipe out;
    Pipe err;
    const pid_t pid = ::fork();
    if (pid == 0) {
        BecomeCommand(process, out.write.Get(),
                      process.mergeStreams ? out.write.Get() : err.write.Get());
    }
    EXPECT_GT(pid, 0) << std::strerror(errno);
    if (pid > 0) {
        out.write.Close();
        err.write.Close();
        Follow(process, pid, out, err, result);
        EXPECT_EQ(::waitpid(pid, &result.waitStatus, 0), pid);
    }
    return result;
}

}  // namespace zarn::test
