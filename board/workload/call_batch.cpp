#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

#include "board/workload/modes.h"

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
constexpr std::size_t kCallCount = sizeof(kCalls) / sizeof(kCalls[0]);

struct Account {
    std::uint64_t made = 0;
    std::uint64_t failed = 0;
};

bool IsTraced() {
    std::ifstream status("/proc/self/status");
    std::string word;
    long tracer = 0;
    while (status >> word) {
        if (word == "TracerPid:" && status >> tracer) {
            break;
        }
    }
    return tracer != 0;
}

// A tracer is there before it sees the calls: these begin when it has stopped the process and lets
// it go on, which ends this wait and no other of its kind.
bool AwaitTracer() {
    const int nothing = ::epoll_create1(EPOLL_CLOEXEC);
    if (nothing < 0) {
        return false;
    }
    epoll_event event{};
    do {
        if (::epoll_wait(nothing, &event, 1, -1) < 0 && errno != EINTR) {
            return false;
        }
    } while (!IsTraced());
    return true;
}

void Make(const Call& call, long argument, Account& account) {
    ++account.made;
    account.failed += ::syscall(call.number, argument, 0) < 0 ? 1U : 0U;
}

}  // namespace

int RunCallBatch(const std::vector<std::string>& words) {
    std::uint32_t rounds = 0;
    if (words.size() != 1 ||
        std::from_chars(words[0].data(), words[0].data() + words[0].size(), rounds).ptr !=
            words[0].data() + words[0].size()) {
        return kBadCall;
    }
    // Waits no longer than whoever started it lives; anybody may trace it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    if (!AwaitTracer()) {
        std::perror("board_workload");
        return 1;
    }
    Account accounts[kCallCount];
    for (std::uint32_t round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < kCallCount; ++i) {
            for (unsigned time = 0; time < kCalls[i].timesGood; ++time) {
                Make(kCalls[i], kCalls[i].good, accounts[i]);
            }
            for (unsigned time = 0; time < kCalls[i].timesBad; ++time) {
                Make(kCalls[i], -1, accounts[i]);
            }
        }
    }
    // In one piece, of which a trace shows the beginning, so that no name stands in its line.
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    std::printf("system calls of the batch: name, made, failed\n");
    for (std::size_t i = 0; i < kCallCount; ++i) {
        std::printf("%s %llu %llu\n", kCalls[i].name,
                    static_cast<unsigned long long>(accounts[i].made),
                    static_cast<unsigned long long>(accounts[i].failed));
    }
    return 0;
}

}  // namespace zarn::board
