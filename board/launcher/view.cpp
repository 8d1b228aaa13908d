#include "board/launcher/view.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "board/launcher/child.h"
#include "board/preload/kernel_paths.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSource = "zarn-board";  // what the mount table calls our memory
constexpr const char* kMemory = "tmpfs";
constexpr const char* kLoaderList = "/etc/ld.so.preload";

Problem Failed(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// Writes a setting of the kernel, which wants it in one piece and no file made.
bool WriteSetting(const char* path, const std::string& text) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    return written;
}

// The one user or group `id`, under its own number.
std::string MapOf(unsigned id) {
    return std::to_string(id) + " " + std::to_string(id) + " 1";
}

bool MakeEmpty(const std::string& path, bool isFolder) {
    if (isFolder) {
        return ::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
    }
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0) {
        ::close(fd);
    }
    return fd >= 0;
}

// Shows an entry of the working directory in a folder: a link as it is, all else as itself. What is
// gone meanwhile is not shown.
bool ShowEntry(const std::string& name, const std::string& folder) {
    const std::string to = folder + "/" + name;
    std::error_code error;
    const fs::file_status status = fs::symlink_status(name, error);
    if (fs::is_symlink(status)) {
        fs::copy_symlink(name, to, error);
        return true;
    }
    if (!fs::exists(status)) {
        return true;
    }
    const bool shown = MakeEmpty(to, fs::is_directory(status)) &&
                       ::mount(name.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
    return shown || errno == ENOENT;
}

}  // namespace

Problem EnterUserNamespace() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWUSER) != 0) {
        return Failed("no user namespace");
    }
    const bool mapped = WriteSetting("/proc/self/setgroups", "deny") &&
                        WriteSetting("/proc/self/uid_map", MapOf(user)) &&
                        WriteSetting("/proc/self/gid_map", MapOf(group));
    return mapped ? std::nullopt : Failed("no user in the user namespace");
}

Problem View::Enter() {
    std::error_code error;
    workingDirectory_ = fs::current_path(error).string();
    if (::unshare(CLONE_NEWNS) != 0) {
        if (Problem problem = EnterUserNamespace()) {
            return problem;
        }
        if (::unshare(CLONE_NEWNS) != 0) {
            return Failed("no mount namespace");
        }
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return Failed("no private mount namespace");
    }
    return std::nullopt;
}

Problem View::Cover(const std::string& folder) {
    // By its path the old one cannot be reached any more; from inside it can.
    const int old = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const bool covered = old >= 0 &&
                         ::mount(kSource, folder.c_str(), kMemory, 0, "mode=0755") == 0 &&
                         ::fchdir(old) == 0;
    if (old >= 0) {
        ::close(old);
    }
    if (!covered) {
        return Failed("cannot cover " + folder);
    }
    own_.insert(folder);
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(".", error)) {
        const std::string name = entry.path().filename().string();
        if (!ShowEntry(name, folder)) {
            return Failed("cannot bind " + (fs::path(folder) / name).string());
        }
    }
    return error ? Problem("cannot read " + folder + ": " + error.message()) : std::nullopt;
}

Problem View::MakePlace(const std::string& path, bool isFolder) {
    std::error_code error;
    if (fs::exists(path, error)) {
        return std::nullopt;
    }
    const std::string parent = fs::path(path).parent_path().string();
    if (parent == "/") {
        return "there is no " + path + ", and nothing can be put beside it for a time";
    }
    Problem problem = MakePlace(parent, true);
    if (!problem && own_.count(parent) == 0) {
        problem = Cover(parent);
    }
    if (problem) {
        return problem;
    }
    if (!MakeEmpty(path, isFolder)) {
        return Failed("cannot make " + path);
    }
    if (isFolder) {
        own_.insert(path);
    }
    return std::nullopt;
}

Problem View::Bind(const Binding& binding) {
    std::error_code error;
    if (Problem problem = MakePlace(binding.to, fs::is_directory(binding.from, error))) {
        return problem;
    }
    own_.erase(binding.to);
    if (::mount(binding.from.c_str(), binding.to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) !=
        0) {
        return Failed("cannot bind " + binding.from + " to " + binding.to);
    }
    return std::nullopt;
}

Problem View::ShowKernelFiles(const std::string& files, const std::string& library) {
    Problem problem = MakePlace(kViewFolder, true);
    if (!problem) {
        problem = Bind({files, kKernelFiles});
    }
    if (!problem) {
        problem = Bind({library, kPreloadLibrary});
    }
    // What the machine has loaded into every program stays; on a board inside a board we are there.
    std::string list;
    const bool isListed = ReadFile(kLoaderList, list) == FileResult::Ok &&
                          list.find(kPreloadLibrary) != std::string::npos;
    if (problem || isListed) {
        return problem;
    }
    const std::string ours = std::string(kViewFolder) + "/ld.so.preload";
    if (WriteFile(ours, std::string(kPreloadLibrary) + "\n" + list) != FileResult::Ok) {
        return Failed("cannot write " + ours);
    }
    return Bind({ours, kLoaderList});
}

void View::ReenterWorkingDirectory() const {
    if (::chdir(workingDirectory_.c_str()) != 0) {
        // Not to be reached by its path in here, so the one we stand in will do.
        return;
    }
}

Problem WhyNoView() {
    return AskChild([]() -> Problem {
        View view;
        if (Problem problem = view.Enter()) {
            return problem;
        }
        for (const char* folder : {"/etc", "/opt", "/var"}) {
            if (::mount(kSource, folder, kMemory, 0, "mode=0755") != 0) {
                return Failed("cannot cover " + std::string(folder));
            }
        }
        return std::nullopt;
    });
}

}  // namespace zarn::board
