#include "board/launcher/enter.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "board/launcher/child.h"
#include "board/launcher/view.h"
#include "board/preload/kernel_paths.h"
#include "board/server/cpu_files.h"
#include "foundation/console.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

// The files about the processors, if the board has them. The machine has them as well, so that they
// can be bound to their places, below /proc too, and whoever reads them meets the board's.
std::vector<Binding> CpuBindings(const std::string& files) {
    std::vector<Binding> bindings{{files + "/proc/cpuinfo", "/proc/cpuinfo"},
                                  {files + "/proc/stat", "/proc/stat"}};
    for (const char* list : kCoreLists) {
        bindings.push_back(
            {files + "/sys/cpu/" + list, std::string("/sys/devices/system/cpu/") + list});
    }
    std::error_code error;
    const bool areThere = std::filesystem::exists(bindings.front().from, error);
    return areThere ? bindings : std::vector<Binding>{};
}

// What stands where, but for the kernel files below /proc. /opt/usr comes last: it may hide where
// the others come from.
std::vector<Binding> BindingsOf(const BoardPlaces& places, const Installation& installation) {
    const std::string files = places.folder + "/files";
    std::vector<Binding> bindings = CpuBindings(files);
    const std::vector<Binding> always{
        {files + "/etc/qvt_version", "/etc/qvt_version"},
        {files + "/etc/orlo-latest", "/etc/orlo-latest"},
        {files + "/etc/sys_version_tepa.conf", "/etc/sys_version_tepa.conf"},
        {installation.data + "/tools/kavtrace", "/var/kavtrace"},
        {files + "/sys/event_sched", "/sys/devices/virtual/event_sched"},
        {files + "/sys/AICPU", "/sys/fs/cgroup/cpuset/AICPU"},
        {places.optUsr, "/opt/usr"},
    };
    bindings.insert(bindings.end(), always.begin(), always.end());
    return bindings;
}

// Enters a view with these bindings. With a library, it shows the kernel files below /proc.
Problem EnterView(const std::vector<Binding>& bindings, const std::string& files,
                  const std::string& library) {
    View view;
    Problem problem = view.Enter();
    if (!problem && !library.empty()) {
        problem = view.ShowKernelFiles(files, library);
    }
    for (const Binding& binding : bindings) {
        if (!problem) {
            problem = view.Bind(binding);
        }
    }
    if (!problem) {
        view.ReenterWorkingDirectory();
    }
    return problem;
}

// The words for proot to bind something. A path with a colon would end there for it, so it gets the
// number of an open file instead, which it looks up at its start.
void AddBinding(std::vector<std::string>& words, const Binding& binding) {
    std::string from = binding.from;
    if (from.find(':') != std::string::npos) {
        from = "/proc/self/fd/" + std::to_string(::open(from.c_str(), O_PATH));
    }
    words.emplace_back("-b");
    words.push_back(from + ":" + binding.to);
}

// The board's files beside its folders of /proc: about the memory of the system, of its programs.
std::vector<std::string> MovingFiles(const std::string& files) {
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(files + "/proc", error)) {
        const std::string name = entry.path().filename().string();
        if (IsDigitString(name)) {
            paths.push_back("/proc/" + name + "/sp_group");
        }
    }
    for (const char* name : kMemoryFiles) {
        if (std::filesystem::exists(files + "/proc/" + name, error)) {
            paths.push_back(std::string("/proc/") + name);
        }
    }
    return paths;
}

// Becomes proot with the command's guard behind it. `guard` is the parent.
int BecomeTracer(const BoardPlaces& places, const Installation& installation,
                 const std::vector<std::string>& command, const GuardLines& lines, pid_t guard) {
    const std::string files = places.folder + "/files";
    std::vector<std::string> words{"proot", "-v", "-1"};
    for (const char* name : kProcFolders) {
        const std::string path = std::string("/proc/") + name;
        std::error_code error;
        if (std::filesystem::exists(files + path, error)) {
            AddBinding(words, {files + path, path});
        }
    }
    for (const std::string& path : MovingFiles(files)) {
        AddBinding(words, {files + path, path});
    }
    const std::vector<Binding> bindings = BindingsOf(places, installation);
    const bool hasView = ::geteuid() == 0 && !WhyNoView();
    if (hasView) {
        // The tracer makes the places that it binds to where the caller may write, on the machine
        // itself; root may nearly everywhere.
        if (const Problem problem = EnterView(bindings, files, "")) {
            PrintError("zarn-board: " + *problem);
            return 1;
        }
    }
    for (const Binding& binding : bindings) {
        if (!hasView) {
            AddBinding(words, binding);
        }
    }
    words.insert(words.end(), {installation.launcher, kGuardWord, std::to_string(lines.life),
                               std::to_string(lines.command)});
    words.insert(words.end(), command.begin(), command.end());
    KeepOpen(lines.life, true);
    KeepOpen(lines.command, true);
    ::setenv("PROOT_TMP_DIR", places.scratch.c_str(), 1);
    ::prctl(PR_SET_PDEATHSIG, kEndOfTracer);
    ::signal(kEndOfTracer, SIG_DFL);
    sigset_t end;
    ::sigemptyset(&end);
    ::sigaddset(&end, kEndOfTracer);
    ::sigprocmask(SIG_UNBLOCK, &end, nullptr);
    return ::getppid() == guard ? Become(words) : 1;
}

// The tracer lets the younger system calls through with paths as they are; without them the C
// library makes do with the older ones.
void HideYoungCalls() {
    constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
    std::array<sock_filter, 6> program{{
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, kNumber},
        {BPF_JMP | BPF_JEQ | BPF_K, 3, 0, SYS_faccessat2},
        {BPF_JMP | BPF_JEQ | BPF_K, 2, 0, SYS_statx},
        {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, SYS_openat2},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | ENOSYS},
    }};
    const sock_fprog filter{program.size(), program.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) {
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
    }
}

}  // namespace

int RunOnBoard(Paths way, const BoardPlaces& places, const Installation& installation,
               const std::vector<std::string>& command, const GuardLines& lines, pid_t launcher) {
    if (way == Paths::Proot) {
        return GuardTracer(
            [&](pid_t guard) { return BecomeTracer(places, installation, command, lines, guard); },
            lines, launcher);
    }
    const std::string files = places.folder + "/files";
    if (const Problem problem =
            EnterView(BindingsOf(places, installation), files, installation.preload)) {
        PrintError("zarn-board: " + *problem);
        return 1;
    }
    return GuardCommand(command, lines, launcher);
}

int GuardBehindTracer(const std::vector<std::string>& words) {
    std::uint32_t life = 0;
    std::uint32_t command = 0;
    if (words.size() < 3 || !StringToUint32(words[0], life) || !StringToUint32(words[1], command)) {
        return 2;
    }
    const GuardLines lines{static_cast<int>(life), static_cast<int>(command)};
    KeepOpen(lines.life, false);
    KeepOpen(lines.command, false);
    HideYoungCalls();
    return GuardCommand({words.begin() + 2, words.end()}, lines, ::getppid());
}

}  // namespace zarn::board
