#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>

#include "board/workload/modes.h"
#include "board/workload/tell.h"

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

struct Account {
    std::uint64_t made = 0;
    std::uint64_t failed = 0;
};

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

using Accounts = std::array<Account, std::size(kCalls)>;

void Make(const Call& call, long argument, Account& account) {
    ++account.made;
    account.failed += ::syscall(call.number, argument, 0) < 0 ? 1U : 0U;
}

void MakeRound(Accounts& accounts) {
    for (std::size_t i = 0; i < accounts.size(); ++i) {
        for (unsigned time = 0; time < kCalls[i].timesGood; ++time) {
            Make(kCalls[i], kCalls[i].good, accounts[i]);
        }
        for (unsigned time = 0; time < kCalls[i].timesBad; ++time) {
            Make(kCalls[i], -1, accounts[i]);
        }
    }
}

double Now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// A trace shows the beginning of what is written, in which no name stands.
std::string AccountText(const Accounts& accounts, double seconds) {
    std::string text =
        "system calls of the batch, in " + std::to_string(seconds) + " s: name, made, failed\n";
    for (std::size_t i = 0; i < accounts.size(); ++i) {
        text += std::string(kCalls[i].name) + " " + std::to_string(accounts[i].made) + " " +
                std::to_string(accounts[i].failed) + "\n";
    }
    return text;
}

// Nothing for any other word.
std::optional<std::uint32_t> CountOf(const std::string& word) {
    std::uint32_t count = 0;
    const char* end = word.data() + word.size();
    const auto read = std::from_chars(word.data(), end, count);
    return read.ec == std::errc() && read.ptr == end ? std::optional(count) : std::nullopt;
}

}  // namespace

int RunCallBatch(const std::vector<std::string>& words) {
    const bool isUntraced = words.size() == 2 && words[1] == "untraced";
    const auto rounds = words.empty() ? std::nullopt : CountOf(words[0]);
    if (!rounds || (words.size() != 1 && !isUntraced)) {
        return kBadCall;
    }
    // Waits no longer than whoever started it lives; anybody may trace it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    if (!isUntraced) {
        AwaitTracer();
    }
    const double begin = Now();
    Accounts accounts{};
    for (std::uint32_t round = 0; round < *rounds; ++round) {
        MakeRound(accounts);
    }
    Tell(STDOUT_FILENO, AccountText(accounts, Now() - begin));
    return 0;
}

}  // namespace zarn::board
