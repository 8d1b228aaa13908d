#include "tests/system/support/private_usr.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace zarn::test {
namespace {

namespace fs = std::filesystem;

bool WriteMap(const char* path, unsigned id) {
    const std::string line = std::to_string(id) + " " + std::to_string(id) + " 1\n";
    std::ofstream map(path);
    map << line << std::flush;
    return map.good();
}

// Who may not have a mount namespace by right has one in a user namespace of his own, in which he
// keeps his identity; a program that is started there has no more rights than he.
bool UnshareMounts() {
    if (::unshare(CLONE_NEWNS) == 0) {
        return true;
    }
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    return WriteMap("/proc/self/uid_map", user) && WriteMap("/proc/self/gid_map", group);
}

bool LeaveNamespace() {
    return UnshareMounts() && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool BindOver(const std::string& source, const std::string& target) {
    return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// Processes come and go in this folder, which has to stay the machine's: what is to stand in it
// must be there.
constexpr const char* kProcesses = "/proc";

void MakeEmpty(const fs::path& path, bool folder) {
    if (folder) {
        fs::create_directory(path);
    } else {
        std::ofstream(path).flush();
    }
}

// Makes `target` and lets `source`, a file or folder, appear there.
bool Show(const fs::path& source, const fs::path& target) {
    MakeEmpty(target, fs::is_directory(source));
    return BindOver(source.string(), target.string());
}

// Puts other files into the places of those that are in the folder.
bool Replace(const std::string& folder, const std::map<std::string, std::string>& added) {
    bool replaced = true;
    for (const auto& [name, source] : added) {
        replaced = BindOver(source, fs::path(folder) / name) && replaced;
    }
    return replaced;
}

// Builds the folder in `staged`, entries of the machine and additions, and puts it into its place.
bool Rebuild(const std::string& folder, const std::map<std::string, std::string>& added,
             const std::string& staged) {
    if (::mount("tmpfs", staged.c_str(), "tmpfs", 0, "size=1m,mode=0755") != 0) {
        return false;
    }
    bool shown = true;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const fs::path target = fs::path(staged) / entry.path().filename();
        if (added.count(target.filename().string()) != 0) {
            continue;
        }
        if (entry.is_symlink()) {
            fs::copy_symlink(entry.path(), target);
        } else {
            shown = Show(entry.path(), target) && shown;
        }
    }
    for (const auto& [name, source] : added) {
        shown = (source.empty() || Show(source, fs::path(staged) / name)) && shown;
    }
    return shown && BindOver(staged, folder);
}

}  // namespace

bool CanMount() {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool works =
            LeaveNamespace() && ::mount("tmpfs", "/opt", "tmpfs", 0, "size=64k,mode=0755") == 0;
        ::_exit(works ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

bool EnterPrivateView(const Additions& additions, const std::string& staging) {
    bool entered = LeaveNamespace();
    for (const auto& [folder, added] : additions) {
        if (folder == kProcesses) {
            entered = entered && Replace(folder, added);
            continue;
        }
        const std::string staged = staging + "/" + fs::path(folder).filename().string();
        fs::create_directory(staged);
        entered = entered && Rebuild(folder, added, staged);
    }
    return entered;
}

std::vector<std::string> ProotOptions(const Additions& additions, const std::string& emptyRoot) {
    std::vector<std::string> options{"-r", emptyRoot};
    const auto show = [&](const fs::path& source, const std::string& inside) {
        if (fs::is_symlink(source)) {
            fs::copy_symlink(source, emptyRoot + inside);
        } else {
            MakeEmpty(emptyRoot + inside, fs::is_directory(source));
            options.insert(options.end(), {"-b", source.string() + ":" + inside});
        }
    };
    for (const fs::directory_entry& top : fs::directory_iterator("/")) {
        const auto rebuilt = additions.find(top.path().string());
        if (rebuilt == additions.end()) {
            show(top.path(), top.path().string());
            continue;
        }
        if (rebuilt->first == kProcesses) {
            show(top.path(), top.path().string());
            for (const auto& [name, source] : rebuilt->second) {
                options.insert(options.end(), {"-b", source + ":" + rebuilt->first + "/" + name});
            }
            continue;
        }
        MakeEmpty(emptyRoot + rebuilt->first, true);
        for (const fs::directory_entry& entry : fs::directory_iterator(top.path())) {
            if (rebuilt->second.count(entry.path().filename().string()) == 0) {
                show(entry.path(), entry.path().string());
            }
        }
        for (const auto& [name, source] : rebuilt->second) {
            if (!source.empty()) {
                show(source, rebuilt->first + "/" + name);
            }
        }
    }
    return options;
}

bool MountSmall(const std::string& directory, std::size_t bytes, std::size_t inodes) {
    const std::string options = "mode=0755,size=" + std::to_string(bytes) +
                                (inodes == 0 ? "" : ",nr_inodes=" + std::to_string(inodes));
    return LeaveNamespace() &&
           ::mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

void Unmount(const std::string& directory) {
    (void)::umount2(directory.c_str(), MNT_DETACH);
}

}  // namespace zarn::test
