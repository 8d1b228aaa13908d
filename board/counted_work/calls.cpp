#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <iterator>

#include "board/counted_work/modes.h"

namespace zarn::board {
namespace {

// A system call as a round makes it. No name is part of another's line in a trace, and nothing but
// the batch makes any of them.
struct Call {
    const char* name;
    long number;
    long good;  // a first argument with which it succeeds; the others are 0
    unsigned timesGood;
    unsigned timesBad;  // with -1, which is no file, process or range of any
};

constexpr Call kCalls[] = {
    {"getppid", SYS_getppid, 0, 5, 0},     {"sched_yield", SYS_sched_yield, 0, 1, 0},
    {"umask", SYS_umask, 0022, 2, 0},      {"getsid", SYS_getsid, 0, 3, 0},
    {"getpgid", SYS_getpgid, 0, 2, 1},     {"fchdir", SYS_fchdir, 0, 0, 2},
    {"ftruncate", SYS_ftruncate, 0, 0, 1}, {"getpriority", SYS_getpriority, PRIO_PROCESS, 1, 1},
};

struct Count {
    unsigned long made = 0;
    unsigned long failed = 0;
};
using Counts = std::array<Count, std::size(kCalls)>;

// How often the thread has rested so far.
long Rests() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

// A tracer is there before it sees the calls. One that sees them stops the thread twice in each,
// where a call like this would let it run on.
bool IsSeen() {
    constexpr int kProbes = 8;
    const long before = Rests();
    for (int i = 0; i < kProbes; ++i) {
        ::syscall(SYS_getuid);
    }
    return Rests() - before >= 2L * kProbes;
}

void AwaitTracer() {
    constexpr timespec kLook{0, 10000000};
    while (!IsSeen()) {
        ::nanosleep(&kLook, nullptr);
    }
}

void Make(const Call& call, long argument, Count& count) {
    ++count.made;
    count.failed += ::syscall(call.number, argument, 0) < 0 ? 1U : 0U;
}

void MakeRound(Counts& counts) {
    for (std::size_t i = 0; i < counts.size(); ++i) {
        for (unsigned time = 0; time < kCalls[i].timesGood; ++time) {
            Make(kCalls[i], kCalls[i].good, counts[i]);
        }
        for (unsigned time = 0; time < kCalls[i].timesBad; ++time) {
            Make(kCalls[i], -1, counts[i]);
        }
    }
}

double Now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// In one piece, of which a trace shows the beginning: no name stands there.
bool TellAccount(const Counts& counts, double seconds) {
    std::array<char, 1024> text{};
    int size = std::snprintf(text.data(), text.size(),
                             "system calls of the batch, in %.6f s: name, made, failed\n", seconds);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const auto used = static_cast<std::size_t>(size);
        size += std::snprintf(text.data() + used, text.size() - used, "%s %lu %lu\n",
                              kCalls[i].name, counts[i].made, counts[i].failed);
    }
    return ::write(STDOUT_FILENO, text.data(), static_cast<std::size_t>(size)) == size;
}

}  // namespace

int MakeCalls(long rounds) {
    const double begin = Now();
    Counts counts{};
    for (long round = 0; round < rounds; ++round) {
        MakeRound(counts);
    }
    return TellAccount(counts, Now() - begin) ? 0 : 1;
}

int MakeCallsWhenTraced(long rounds) {
    // Waits no longer than whoever started it lives; anybody may trace it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    AwaitTracer();
    return MakeCalls(rounds);
}

}  // namespace zarn::board
