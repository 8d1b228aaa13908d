// board_without WHAT COMMAND...
// Runs a command as on a machine that forbids WHAT: "view" (private mount namespaces), "trace"
// (ptrace), or "both", or all "sampling" (perf_event_open); or that has no "lease" for files.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace {

bool Filter(sock_fprog filter) {
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// Lets a system call fail from now on, here and in all that comes from here.
bool Forbid(unsigned call) {
    std::array<sock_filter, 4> program{{
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<unsigned>(offsetof(seccomp_data, nr))},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    }};
    return Filter({program.size(), program.data()});
}

// The same for asking for a lease, as a file system answers that has none.
bool ForbidLeases() {
    constexpr auto kCommand = static_cast<unsigned>(offsetof(seccomp_data, args) + 8);
    std::array<sock_filter, 6> program{{
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<unsigned>(offsetof(seccomp_data, nr))},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, SYS_fcntl},
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, kCommand},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, F_SETLEASE},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EINVAL},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    }};
    return Filter({program.size(), program.data()});
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 2 ? argv[1] : "";
    const bool view = what == "view" || what == "both";
    const bool trace = what == "trace" || what == "both";
    const bool sampling = what == "sampling";
    const bool lease = what == "lease";
    if ((!view && !trace && !sampling && !lease) || (lease && !ForbidLeases()) ||
        (view && !Forbid(SYS_unshare)) || (trace && !Forbid(SYS_ptrace)) ||
        (sampling && !Forbid(SYS_perf_event_open))) {
        return 2;
    }
    ::execvp(argv[2], argv + 2);
    std::perror(argv[2]);
    return 127;
}
