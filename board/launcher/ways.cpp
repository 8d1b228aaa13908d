#include "board/launcher/ways.h"

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "board/launcher/child.h"
#include "board/launcher/view.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

// A whole number that the kernel keeps in a file; `otherwise` where there is none.
long SettingOf(const char* path, long otherwise) {
    std::string text;
    return ReadFile(path, text) == FileResult::Ok && !text.empty()
               ? std::strtol(text.c_str(), nullptr, 10)
               : otherwise;
}

std::string NamespaceRemedy() {
    if (SettingOf("/proc/sys/kernel/unprivileged_userns_clone", 1) == 0) {
        return "sysctl -w kernel.unprivileged_userns_clone=1";
    }
    if (SettingOf("/proc/sys/user/max_user_namespaces", 1) == 0) {
        return "sysctl -w user.max_user_namespaces=10000";
    }
    if (SettingOf("/proc/sys/kernel/apparmor_restrict_unprivileged_userns", 0) == 1) {
        return "sysctl -w kernel.apparmor_restrict_unprivileged_userns=0";
    }
    return "in a container: start it with --cap-add SYS_ADMIN and without the filters that forbid "
           "unshare and mount";
}

// Lets a child be traced by this process.
Problem TraceAChild() {
    const pid_t parent = ::getpid();
    const pid_t child = StartChild([parent] {
        // A stopped one would outlive a launcher that is killed now.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent || ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            return 1;
        }
        ::raise(SIGSTOP);
        return 0;
    });
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, WUNTRACED) != child) {
        return std::strerror(errno);
    }
    if (!WIFSTOPPED(status)) {
        return "the kernel forbids ptrace";
    }
    ::kill(child, SIGKILL);
    (void)WaitForChild(child);
    return std::nullopt;
}

std::string Line(const std::string& way, const std::optional<Obstacle>& obstacle) {
    return way + (obstacle ? "does not work: " + obstacle->reason + "; remedy: " + obstacle->remedy
                           : "works");
}

}  // namespace

std::optional<Obstacle> NamespaceObstacle(const Installation& installation) {
    if (installation.preload.empty()) {
        return Obstacle{"libzarn_board_paths.so is missing", "build or install zarn-board again"};
    }
    if (const Problem problem = WhyNoView()) {
        const bool isPlace = problem->find("No such file") != std::string::npos;
        return Obstacle{*problem, isPlace ? "make this folder" : NamespaceRemedy()};
    }
    return std::nullopt;
}

std::optional<Obstacle> ProotObstacle() {
    if (!IsInPath("proot", X_OK)) {
        return Obstacle{"proot is not installed", "install the Debian package proot"};
    }
    if (const Problem problem = TraceAChild()) {
        return Obstacle{*problem, SettingOf("/proc/sys/kernel/yama/ptrace_scope", 0) == 3
                                      ? "set kernel.yama.ptrace_scope=2 and start the machine anew"
                                      : "in a container: start it with --cap-add SYS_PTRACE"};
    }
    return std::nullopt;
}

std::optional<Paths> ChooseWay(Paths asked, const Installation& installation) {
    std::vector<std::string> lines;
    if (asked != Paths::Proot) {
        const auto obstacle = NamespaceObstacle(installation);
        if (!obstacle) {
            return Paths::Namespace;
        }
        lines.push_back(Line("--paths namespace ", obstacle));
    }
    if (asked != Paths::Namespace) {
        const auto obstacle = ProotObstacle();
        if (!obstacle) {
            return Paths::Proot;
        }
        lines.push_back(Line("--paths proot ", obstacle));
    }
    for (const std::string& line : lines) {
        PrintError("zarn-board: " + line);
    }
    return std::nullopt;
}

std::vector<std::string> DescribeWays(const Ways& ways) {
    return {Line("namespace  ", ways.byNamespace), Line("proot      ", ways.byProot)};
}

}  // namespace zarn::board
