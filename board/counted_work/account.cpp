#include "board/counted_work/account.h"

#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace zarn::board {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void TakeInterrupt(int /*signal*/) {
    interrupted = 1;
}

}  // namespace

void Begin() {
    struct sigaction action {};
    action.sa_handler = TakeInterrupt;
    ::sigaction(SIGINT, &action, nullptr);
    Tell("begun");
}

bool IsInterrupted() {
    return interrupted != 0;
}

double ThreadMs() {
    constexpr double kMsPerSecond = 1e3;
    constexpr double kNsPerMs = 1e6;
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * kMsPerSecond +
           static_cast<double>(now.tv_nsec) / kNsPerMs;
}

void Tell(const char* format, ...) {
    constexpr std::size_t kLongest = 200;
    char line[kLongest];
    va_list values;
    va_start(values, format);
    const int size = std::vsnprintf(line, kLongest - 1, format, values);
    va_end(values);
    if (size < 0) {
        return;
    }
    std::size_t end = static_cast<std::size_t>(size);
    if (end > kLongest - 2) {
        end = kLongest - 2;
    }
    line[end] = '\n';
    if (::write(STDOUT_FILENO, line, end + 1) < 0) {
        return;  // nobody listens
    }
}

}  // namespace zarn::board
