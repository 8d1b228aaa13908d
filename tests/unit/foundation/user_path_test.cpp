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
constexpr int kBrokenTest = 78;

void WriteMap(const char* path, unsigned id) {
    std::ofstream(path) << id << " " << id << " 1\n";
}

// A mount namespace: root has it by right, anyone else in a user namespace in which he keeps his
// identity. His group must have its place there too, else he can make no file.
bool EnterNamespace() {
    if (::getuid() == 0) {
        return ::unshare(CLONE_NEWNS) == 0;
    }
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    WriteMap("/proc/self/uid_map", user);
    WriteMap("/proc/self/gid_map", group);
    return true;
}

// Gives this process an /opt of its own, where it is an ordinary user. False where the kernel lets
// nobody but root mount; whatever fails behind that is a fault of this test.
bool EnterPrivateOpt() {
    constexpr uid_t kOrdinaryUser = 1000;
    if (!EnterNamespace() || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return false;
    }
    EXPECT_EQ(::mount("tmpfs", "/opt", "tmpfs", 0, "mode=0777"), 0);
    EXPECT_EQ(::mkdir("/opt/usr", 0777), 0);
    EXPECT_EQ(::chmod("/opt/usr", 0777), 0);
    EXPECT_EQ(::getuid() == 0 ? ::setuid(kOrdinaryUser) : 0, 0);
    return true;
}

void WriteText(const std::string& path) {
    std::ofstream(path) << "text";
}

// Does `checks` in a process with a private /opt; they count what is not as expected. The number
// is the process's exit status.
int FailuresInPrivateOpt(const std::function<int()>& checks) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (!EnterPrivateOpt()) {
            ::_exit(kNoNamespace);
        }
        ::_exit(testing::Test::HasFailure() ? kBrokenTest : checks());
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
        GTEST_SKIP() << "needs root, or a kernel that lets users have namespaces";
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
