#include "tests/system/support/private_usr.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

namespace zarn::test {
namespace {

namespace fs = std::filesystem;

bool LeaveNamespace() {
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool BindOver(const std::string& source, const std::string& target) {
    return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// Repeats an entry of /opt in the staged one.
bool Repeat(const fs::directory_entry& entry, const std::string& staging) {
    const std::string target = staging + "/" + entry.path().filename().string();
    std::error_code error;
    if (entry.is_symlink()) {
        fs::copy_symlink(entry.path(), target, error);
        return !error;
    }
    return !entry.is_directory() ||
           (::mkdir(target.c_str(), 0755) == 0 && BindOver(entry.path().string(), target));
}

}  // namespace

bool CanMount() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(LeaveNamespace() ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

bool EnterPrivateUsr(const std::string& usr, const std::string& staging) {
    if (!LeaveNamespace() ||
        ::mount("tmpfs", staging.c_str(), "tmpfs", 0, "size=64k,mode=0755") != 0) {
        return false;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator("/opt")) {
        if (entry.path().filename() != "usr" && !Repeat(entry, staging)) {
            return false;
        }
    }
    const std::string stagedUsr = staging + "/usr";
    return ::mkdir(stagedUsr.c_str(), 0755) == 0 && BindOver(usr, stagedUsr) &&
           BindOver(staging, "/opt");
}

bool MountSmall(const std::string& directory, std::size_t bytes, std::size_t inodes) {
    const std::string options = "mode=0755,size=" + std::to_string(bytes) +
                                (inodes == 0 ? "" : ",nr_inodes=" + std::to_string(inodes));
    return LeaveNamespace() &&
           ::mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

void UnmountSmall(const std::string& directory) {
    (void)::umount2(directory.c_str(), MNT_DETACH);
}

}  // namespace zarn::test
