// libzarn_board_paths.so: loaded into every program of a board that stands on a mount namespace.
// Calls of the C library that take a path get another one where the path is a kernel file of the
// board below /proc; all else passes. It does nothing when it is loaded, holds no lock and no
// memory, and hands each call to whoever comes next, which may be another preloaded library.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <limits.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/types.h>
#include <unistd.h>
#include <utime.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "board/preload/kernel_paths.h"

namespace {

using zarn::board::BoardEntry;
using zarn::board::BoardEntryInProc;
using zarn::board::MayBeTheMachines;
using zarn::board::NameOf;
using zarn::board::PlaceOf;

// Whether there is a file, as the kernel sees it.
bool IsThere(const char* path) {
    const int before = errno;
    const bool isThere = ::syscall(SYS_faccessat, AT_FDCWD, path, F_OK) == 0;
    errno = before;
    return isThere;
}

// Whether a descriptor, or the working directory for AT_FDCWD, is /proc.
bool IsProc(int directory) {
    char link[64] = "/proc/self/cwd";
    if (directory != AT_FDCWD) {
        char* end = link + sizeof("/proc/self/fd/") - 1;
        std::memcpy(link, "/proc/self/fd/", sizeof("/proc/self/fd/") - 1);
        char digits[16];
        int count = 0;
        for (unsigned rest = static_cast<unsigned>(directory); count == 0 || rest > 0; rest /= 10) {
            digits[count] = static_cast<char>('0' + rest % 10);
            ++count;
        }
        while (count > 0) {
            --count;
            *end = digits[count];
            ++end;
        }
        *end = '\0';
    }
    char target[8];
    const int known = errno;
    const long length = ::syscall(SYS_readlinkat, AT_FDCWD, link, target, sizeof(target));
    errno = known;
    return length == 5 && std::memcmp(target, "/proc", 5) == 0;
}

// A path as the kernel is to be asked for it: another one for an entry of the board.
class Path {
public:
    explicit Path(const char* path, int directory = AT_FDCWD) : path_(path) {
        if (path == nullptr) {
            return;
        }
        const char* entry = BoardEntry(path);
        if (entry == nullptr && *path != '/' && BoardEntryInProc(path) != nullptr &&
            IsProc(directory)) {
            entry = BoardEntryInProc(path);
        }
        if (entry != nullptr && PlaceOf(entry, place_, sizeof(place_)) &&
            (!MayBeTheMachines(entry) || IsThere(place_))) {
            path_ = place_;
        }
    }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    operator const char*() const { return path_; }  // NOLINT: it stands for the path in a call

private:
    const char* path_;
    char place_[PATH_MAX];
};

// The next definition of a function, looked up at its first call.
template <typename Function>
class Next {
public:
    explicit constexpr Next(const char* name) : name_(name) {}

    Function* operator*() {
        void* known = found_.load(std::memory_order_relaxed);
        if (known == nullptr) {
            known = ::dlsym(RTLD_NEXT, name_);
            found_.store(known, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function*>(known);
    }

private:
    const char* name_;
    std::atomic<void*> found_{nullptr};
};

// Whether open takes a mode behind these flags.
bool NeedsMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

// Puts the name of a path in its place, which is never longer.
char* Rename(char* text) {
    if (text != nullptr) {
        const char* name = NameOf(text);
        std::memmove(text, name, std::strlen(name) + 1);
    }
    return text;
}

// The same for the target of a link: `length` bytes without an end.
ssize_t RenameLink(char* target, ssize_t length, std::size_t size) {
    char text[PATH_MAX];
    if (length <= 0 || static_cast<std::size_t>(length) >= size || length >= PATH_MAX) {
        return length;
    }
    std::memcpy(text, target, static_cast<std::size_t>(length));
    text[length] = '\0';
    const char* name = NameOf(text);
    const std::size_t shorter = std::strlen(name);
    std::memcpy(target, name, shorter);  // NOLINT: the target of a link has no end
    return static_cast<ssize_t>(shorter);
}

// The C library's glob looks at folders by calls of its own; these are ours.
void LookThroughUs(glob_t& found) {
    found.gl_opendir = [](const char* path) -> void* { return ::opendir(path); };
    found.gl_readdir = [](void* folder) { return ::readdir(static_cast<DIR*>(folder)); };
    found.gl_closedir = [](void* folder) { ::closedir(static_cast<DIR*>(folder)); };
    found.gl_lstat = [](const char* path, struct stat* status) { return ::lstat(path, status); };
    found.gl_stat = [](const char* path, struct stat* status) { return ::stat(path, status); };
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are lists with parentheses of their own.
// Defines a function of the C library that calls the next definition with these arguments.
#define BOARD_CALL(result, name, parameters, arguments)                        \
    extern "C" __attribute__((visibility("default"))) result name parameters { \
        static Next<result parameters> next(#name);                            \
        return (*next)arguments;                                               \
    }

// The same for an opening call, whose mode is there only behind some flags.
#define BOARD_OPEN(name, parameters, arguments, argumentsWithMode)          \
    extern "C" __attribute__((visibility("default"))) int name parameters { \
        static Next<int parameters> next(#name);                            \
        if (!NeedsMode(flags)) {                                            \
            return (*next)arguments;                                        \
        }                                                                   \
        std::va_list rest;                                                  \
        va_start(rest, flags);                                              \
        const mode_t mode = va_arg(rest, mode_t);                           \
        va_end(rest);                                                       \
        return (*next)argumentsWithMode;                                    \
    }

// NOLINTEND(bugprone-macro-parentheses)

using Text = const char*;

BOARD_OPEN(open, (Text path, int flags, ...), (Path(path), flags), (Path(path), flags, mode))
BOARD_OPEN(open64, (Text path, int flags, ...), (Path(path), flags), (Path(path), flags, mode))
BOARD_OPEN(openat, (int at, Text path, int flags, ...), (at, Path(path, at), flags),
           (at, Path(path, at), flags, mode))
BOARD_OPEN(openat64, (int at, Text path, int flags, ...), (at, Path(path, at), flags),
           (at, Path(path, at), flags, mode))
BOARD_CALL(int, __open_2, (Text path, int flags), (Path(path), flags))
BOARD_CALL(int, __open64_2, (Text path, int flags), (Path(path), flags))
BOARD_CALL(int, __openat_2, (int at, Text path, int flags), (at, Path(path, at), flags))
BOARD_CALL(int, __openat64_2, (int at, Text path, int flags), (at, Path(path, at), flags))
BOARD_CALL(int, creat, (Text path, mode_t mode), (Path(path), mode))
BOARD_CALL(int, creat64, (Text path, mode_t mode), (Path(path), mode))
BOARD_CALL(FILE*, fopen, (Text path, Text mode), (Path(path), mode))
BOARD_CALL(FILE*, fopen64, (Text path, Text mode), (Path(path), mode))
BOARD_CALL(FILE*, freopen, (Text path, Text mode, FILE* file), (Path(path), mode, file))
BOARD_CALL(FILE*, freopen64, (Text path, Text mode, FILE* file), (Path(path), mode, file))
BOARD_CALL(DIR*, opendir, (Text path), (Path(path)))

BOARD_CALL(int, stat, (Text path, struct stat* out), (Path(path), out))
BOARD_CALL(int, stat64, (Text path, struct stat64* out), (Path(path), out))
BOARD_CALL(int, lstat, (Text path, struct stat* out), (Path(path), out))
BOARD_CALL(int, lstat64, (Text path, struct stat64* out), (Path(path), out))
BOARD_CALL(int, fstatat, (int at, Text path, struct stat* out, int flags),
           (at, Path(path, at), out, flags))
BOARD_CALL(int, fstatat64, (int at, Text path, struct stat64* out, int flags),
           (at, Path(path, at), out, flags))
BOARD_CALL(int, statx, (int at, Text path, int flags, unsigned mask, struct statx* out),
           (at, Path(path, at), flags, mask, out))
// What stat was called by programs built for older versions of the C library.
BOARD_CALL(int, __xstat, (int version, Text path, struct stat* out), (version, Path(path), out))
BOARD_CALL(int, __xstat64, (int version, Text path, struct stat64* out), (version, Path(path), out))
BOARD_CALL(int, __lxstat, (int version, Text path, struct stat* out), (version, Path(path), out))
BOARD_CALL(int, __lxstat64, (int version, Text path, struct stat64* out),
           (version, Path(path), out))
BOARD_CALL(int, __fxstatat, (int version, int at, Text path, struct stat* out, int flags),
           (version, at, Path(path, at), out, flags))
BOARD_CALL(int, __fxstatat64, (int version, int at, Text path, struct stat64* out, int flags),
           (version, at, Path(path, at), out, flags))
BOARD_CALL(int, statfs, (Text path, struct statfs* out), (Path(path), out))
BOARD_CALL(int, statfs64, (Text path, struct statfs64* out), (Path(path), out))
BOARD_CALL(int, statvfs, (Text path, struct statvfs* out), (Path(path), out))
BOARD_CALL(int, statvfs64, (Text path, struct statvfs64* out), (Path(path), out))
BOARD_CALL(ssize_t, getxattr, (Text path, Text name, void* value, size_t size),
           (Path(path), name, value, size))
BOARD_CALL(ssize_t, lgetxattr, (Text path, Text name, void* value, size_t size),
           (Path(path), name, value, size))
BOARD_CALL(ssize_t, listxattr, (Text path, char* list, size_t size), (Path(path), list, size))
BOARD_CALL(ssize_t, llistxattr, (Text path, char* list, size_t size), (Path(path), list, size))

BOARD_CALL(int, access, (Text path, int mode), (Path(path), mode))
BOARD_CALL(int, eaccess, (Text path, int mode), (Path(path), mode))
BOARD_CALL(int, euidaccess, (Text path, int mode), (Path(path), mode))
BOARD_CALL(int, faccessat, (int at, Text path, int mode, int flags),
           (at, Path(path, at), mode, flags))

BOARD_CALL(int, chdir, (Text path), (Path(path)))
BOARD_CALL(int, mkdir, (Text path, mode_t mode), (Path(path), mode))
BOARD_CALL(int, mkdirat, (int at, Text path, mode_t mode), (at, Path(path, at), mode))
BOARD_CALL(int, rmdir, (Text path), (Path(path)))
BOARD_CALL(int, unlink, (Text path), (Path(path)))
BOARD_CALL(int, unlinkat, (int at, Text path, int flags), (at, Path(path, at), flags))
BOARD_CALL(int, remove, (Text path), (Path(path)))
BOARD_CALL(int, rename, (Text from, Text to), (Path(from), Path(to)))
BOARD_CALL(int, renameat, (int from, Text path, int to, Text fresh),
           (from, Path(path, from), to, Path(fresh, to)))
BOARD_CALL(int, renameat2, (int from, Text path, int to, Text fresh, unsigned flags),
           (from, Path(path, from), to, Path(fresh, to), flags))
BOARD_CALL(int, truncate, (Text path, off_t size), (Path(path), size))
BOARD_CALL(int, truncate64, (Text path, off64_t size), (Path(path), size))
BOARD_CALL(int, chmod, (Text path, mode_t mode), (Path(path), mode))
BOARD_CALL(int, fchmodat, (int at, Text path, mode_t mode, int flags),
           (at, Path(path, at), mode, flags))
BOARD_CALL(int, chown, (Text path, uid_t user, gid_t group), (Path(path), user, group))
BOARD_CALL(int, lchown, (Text path, uid_t user, gid_t group), (Path(path), user, group))
BOARD_CALL(int, fchownat, (int at, Text path, uid_t user, gid_t group, int flags),
           (at, Path(path, at), user, group, flags))
BOARD_CALL(int, utime, (Text path, const struct utimbuf* times), (Path(path), times))
BOARD_CALL(int, utimes, (Text path, const struct timeval* times), (Path(path), times))
BOARD_CALL(int, utimensat, (int at, Text path, const struct timespec* times, int flags),
           (at, Path(path, at), times, flags))
BOARD_CALL(int, inotify_add_watch, (int fd, Text path, uint32_t mask), (fd, Path(path), mask))

using Choose = int (*)(const struct dirent*);
using Order = int (*)(const struct dirent**, const struct dirent**);
BOARD_CALL(int, scandir, (Text path, struct dirent*** list, Choose choose, Order order),
           (Path(path), list, choose, order))

using Actions = posix_spawn_file_actions_t;
BOARD_CALL(int, posix_spawn_file_actions_addopen,
           (Actions * actions, int fd, Text path, int flags, mode_t mode),
           (actions, fd, Path(path), flags, mode))

using OnError = int (*)(const char*, int);
extern "C" __attribute__((visibility("default"))) int glob(Text pattern, int flags, OnError tell,
                                                           glob_t* found) {
    static Next<int(Text, int, OnError, glob_t*)> next("glob");
    if ((flags & GLOB_ALTDIRFUNC) == 0 && BoardEntry(pattern) != nullptr) {
        LookThroughUs(*found);
        flags |= GLOB_ALTDIRFUNC;
    }
    return (*next)(pattern, flags, tell, found);
}

extern "C" __attribute__((visibility("default"))) ssize_t readlink(Text path, char* target,
                                                                   size_t size) {
    static Next<ssize_t(Text, char*, size_t)> next("readlink");
    return RenameLink(target, (*next)(Path(path), target, size), size);
}

extern "C" __attribute__((visibility("default"))) ssize_t readlinkat(int at, Text path,
                                                                     char* target, size_t size) {
    static Next<ssize_t(int, Text, char*, size_t)> next("readlinkat");
    return RenameLink(target, (*next)(at, Path(path, at), target, size), size);
}

extern "C" __attribute__((visibility("default"))) char* realpath(Text path, char* resolved) {
    static Next<char*(Text, char*)> next("realpath");
    return Rename((*next)(Path(path), resolved));
}

extern "C" __attribute__((visibility("default"))) char* getcwd(char* buffer, size_t size) {
    static Next<char*(char*, size_t)> next("getcwd");
    return Rename((*next)(buffer, size));
}
