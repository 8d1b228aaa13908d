#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "foundation/paths.h"
#include "tests/support/captured_streams.h"

// The checks of user-given paths, where there is an /opt/usr/.
namespace zarn {
namespace {

constexpr int kNoNamespace = 77;

// Gives this process an /opt of its own, where it is an ordinary user. False where the kernel does
// not allow it.
bool EnterPrivateOpt() {
    constexpr uid_t kOrdinaryUser = 1000;
    const uid_t user = ::getuid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        return false;
    }
    if (user != 0) {
        std::ofstream("/proc/self/uid_map") << kOrdinaryUser << " " << user << " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", "/opt", "tmpfs", 0, nullptr) == 0 && ::mkdir("/opt/usr", 0777) == 0 &&
           ::chmod("/opt/usr", 0777) == 0 && ::setuid(kOrdinaryUser) == 0;
}

void WriteText(const std::string& path) {
    std::ofstream(path) << "text";
}

// Does `checks` in a process with a private /opt; they count what is not as expected. The number
// is the process's exit status.
int FailuresInPrivateOpt(const std::function<int()>& checks) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(EnterPrivateOpt() ? checks() : kNoNamespace);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// 0 if `check` gives `result` and prints `line`, on the error stream alone. Says the difference.
int Differs(const std::function<bool()>& check, bool result, const std::string& line) {
    bool given = !result;
    const test::Captured captured = test::Capture([&] { given = check(); });
    const bool same = given == result && captured.err == line && captured.out.empty();
    if (!same) {
        std::fprintf(stderr, "got %d: %s", static_cast<int>(given), captured.err.c_str());
    }
    return same ? 0 : 1;
}

int CheckPaths() {
    WriteText("/opt/usr/file");
    WriteText("/opt/other");
    WriteText("/opt/usr2");
    std::filesystem::create_symlink("/opt/usr/file", "/opt/inward");
    std::filesystem::create_symlink("/opt/other", "/opt/usr/outward");
    const auto differs = [](const std::string& path, bool result, const std::string& line) {
        return Differs([&path] { return CheckFilePath(path); }, result, line);
    };
    const auto illegal = [&differs](const std::string& path) {
        return differs(path, false,
                       "File path illegal: " + path + ", file path should under /opt/usr/\n");
    };
    return differs("/opt/usr/file", true, "") + differs("/opt/inward", true, "") +
           differs("/opt/./usr//x/../file", false, "Invalid file path: /opt/./usr//x/../file\n") +
           differs("/opt/./usr//file", true, "") + illegal("/opt/usr/../other") +
           illegal("/opt/usr/outward") + illegal("/opt/usr2") + illegal("/opt/other") +
           differs("/opt/usr", false, "/opt/usr not a single file in /opt/usr/\n") +
           differs("/opt/usr/", false, "/opt/usr not a single file in /opt/usr/\n") +
           differs("/opt/usr/missing", false, "Invalid file path: /opt/usr/missing\n");
}

int CheckPermissions() {
    WriteText("/opt/usr/open");
    WriteText("/opt/usr/closed");
    ::chmod("/opt/usr/closed", 0);
    return Differs([] { return CheckFileReadable("/opt/usr/open"); }, true, "") +
           Differs([] { return CheckFileWritable("/opt/usr/open"); }, true, "") +
           Differs([] { return CheckFileReadable("/opt/usr/closed"); }, false,
                   "Don`t have read permission: /opt/usr/closed\n") +
           Differs([] { return CheckFileWritable("/opt/usr/closed"); }, false,
                   "Don`t have write permission: /opt/usr/closed\n");
}

void ExpectNoFailure(const std::function<int()>& checks) {
    const int failures = FailuresInPrivateOpt(checks);
    if (failures == kNoNamespace) {
        GTEST_SKIP() << "needs root, or a kernel that lets users have name spaces";
    }
    EXPECT_EQ(failures, 0);
}

TEST(CheckFilePath, FollowsLinksAndDots) {
    ExpectNoFailure(CheckPaths);
}

TEST(CheckFilePermission, IsTestedBehindThePath) {
    ExpectNoFailure(CheckPermissions);
}

}  // namespace
}  // namespace zarn
