// Loaded into zarn by LD_PRELOAD, and into zarn only: counts its fallible calls and lets one of
// them fail.
//
//   ZARN_FAULT        "<call>:<n>:<how>": the n-th call (from 1) fails, how being an errno's name,
//                     "short" (write half), "kill" (the child starts and is killed), "code" (a
//                     device call's error code) or "interrupt" (the call succeeds and the program
//                     is interrupted). Several, each behind a comma: each of them happens.
//   ZARN_FAULT_COUNTS file that gets "<call> <count>" lines when the process ends in an ordinary
//                     way
//   ZARN_FAULT_HITS   file that gets a line "<call>" for each fault when it happens
//   ZARN_FAULT_SLEEPS if set, sleeps take their time
//
// Else sleeping costs no time here, so that a walk over all faults does not wait for sampling
// intervals.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum Call {
    Open,
    Read,
    Write,
    Close,
    Spawn,
    Pipe,
    Mkdir,
    Opendir,
    Truncate,
    Thread,
    Localtime,
    DeviceGet,
    DeviceSet
};

constexpr std::array<const char*, 13> kNames{
    "open",    "read",     "write",  "close",     "spawn",      "pipe",      "mkdir",
    "opendir", "truncate", "thread", "localtime", "device_get", "device_set"};

// What the device library answers where it fails.
constexpr int kDeviceError = 77;

struct Plan {
    std::string call;
    long at = 0;
    std::string how;
};

bool enabled = false;  // set behind the strings, when they are there
std::vector<Plan> plans;
std::string countsPath;
std::string hitsPath;
std::array<std::atomic<long>, kNames.size()> counts{};

template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

void ReadPlan(const std::string& text) {
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    if (first != std::string::npos && second != std::string::npos) {
        plans.push_back(
            {text.substr(0, first), std::atol(text.c_str() + first + 1), text.substr(second + 1)});
    }
}

void ReadPlans(const std::string& text) {
    std::istringstream entries(text);
    for (std::string entry; std::getline(entries, entry, ',');) {
        ReadPlan(entry);
    }
}

std::string GetVariable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Only the program itself is touched; its children run without us.
bool Begin() {
    if (std::string_view(::program_invocation_short_name) != "zarn") {
        return false;
    }
    ReadPlans(GetVariable("ZARN_FAULT"));
    countsPath = GetVariable("ZARN_FAULT_COUNTS");
    hitsPath = GetVariable("ZARN_FAULT_HITS");
    ::unsetenv("LD_PRELOAD");
    return true;
}

[[maybe_unused]] const bool begun = enabled = Begin();

__attribute__((destructor)) void End() {
    if (!enabled || countsPath.empty()) {
        return;
    }
    enabled = false;
    if (FILE* file = std::fopen(countsPath.c_str(), "w")) {
        for (std::size_t call = 0; call < kNames.size(); ++call) {
            std::fprintf(file, "%s %ld\n", kNames[call], counts[call].load());
        }
        std::fclose(file);
    }
}

// Tells of a fault past the calls that are counted.
void TellHit(const Plan& plan) {
    const int fd = Real<int(const char*, int, ...)>("open")(hitsPath.c_str(),
                                                            O_WRONLY | O_CREAT | O_APPEND, 0600);
    const std::string line = plan.call + "\n";
    (void)!Real<ssize_t(int, const void*, size_t)>("write")(fd, line.data(), line.size());
    Real<int(int)>("close")(fd);
}

// Counts the call. The plan by which it is to fail, or nullptr.
const Plan* FaultOf(Call call) {
    if (!enabled) {
        return nullptr;
    }
    const long count = ++counts[call];
    for (const Plan& plan : plans) {
        if (plan.at == count && plan.call == kNames[call]) {
            TellHit(plan);
            if (plan.how != "interrupt") {
                return &plan;
            }
            ::kill(::getpid(), SIGINT);
        }
    }
    return nullptr;
}

int PlannedErrno(const Plan& plan) {
    constexpr std::array<std::pair<const char*, int>, 8> names{{{"ENOSPC", ENOSPC},
                                                                {"EIO", EIO},
                                                                {"EMFILE", EMFILE},
                                                                {"EACCES", EACCES},
                                                                {"EINTR", EINTR},
                                                                {"EAGAIN", EAGAIN},
                                                                {"ENOMEM", ENOMEM},
                                                                {"EOVERFLOW", EOVERFLOW}}};
    for (const auto& [name, value] : names) {
        if (plan.how == name) {
            return value;
        }
    }
    return EIO;
}

int Fail(const Plan& plan) {
    errno = PlannedErrno(plan);
    return -1;
}

// A file of coverage counters, which are written behind the program's end.
bool HoldsCounters(std::string_view path) {
    constexpr std::string_view kSuffix = ".gcda";
    return path.size() > kSuffix.size() && path.substr(path.size() - kSuffix.size()) == kSuffix;
}

int OpenAs(const char* realName, const char* path, int flags, mode_t mode) {
    const Plan* fault = HoldsCounters(path) ? nullptr : FaultOf(Open);
    return fault != nullptr ? Fail(*fault)
                            : Real<int(const char*, int, ...)>(realName)(path, flags, mode);
}

// Whether sleeps are left out.
bool IsSleepless() {
    return enabled && std::getenv("ZARN_FAULT_SLEEPS") == nullptr;
}

int SleepNot(struct timespec* left) {
    if (left != nullptr) {
        *left = {};
    }
    return 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return OpenAs("open", path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return OpenAs("open64", path, flags, mode);
}

ssize_t read(int fd, void* buffer, size_t size) {
    const Plan* fault = FaultOf(Read);
    return fault != nullptr ? Fail(*fault)
                            : Real<ssize_t(int, void*, size_t)>("read")(fd, buffer, size);
}

ssize_t write(int fd, const void* buffer, size_t size) {
    auto* realWrite = Real<ssize_t(int, const void*, size_t)>("write");
    const Plan* fault = FaultOf(Write);
    if (fault == nullptr) {
        return realWrite(fd, buffer, size);
    }
    return fault->how == "short" ? realWrite(fd, buffer, (size + 1) / 2) : Fail(*fault);
}

int close(int fd) {
    const Plan* fault = FaultOf(Close);
    const int result = Real<int(int)>("close")(fd);
    return fault != nullptr ? Fail(*fault) : result;
}

int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
    const Plan* fault = FaultOf(Spawn);
    if (fault != nullptr && fault->how != "kill") {
        return PlannedErrno(*fault);
    }
    const int result = Real<decltype(posix_spawn)>("posix_spawn")(pid, path, actions, attributes,
                                                                  arguments, environment);
    if (fault != nullptr && result == 0) {
        ::kill(*pid, SIGKILL);
    }
    return result;
}

int pipe2(int ends[2], int flags) {
    const Plan* fault = FaultOf(Pipe);
    return fault != nullptr ? Fail(*fault) : Real<int(int*, int)>("pipe2")(ends, flags);
}

int mkdir(const char* path, mode_t mode) {
    const Plan* fault = FaultOf(Mkdir);
    return fault != nullptr ? Fail(*fault) : Real<int(const char*, mode_t)>("mkdir")(path, mode);
}

DIR* opendir(const char* path) {
    if (const Plan* fault = FaultOf(Opendir)) {
        Fail(*fault);
        return nullptr;
    }
    return Real<DIR*(const char*)>("opendir")(path);
}

int ftruncate(int fd, off_t size) noexcept {
    const Plan* fault = FaultOf(Truncate);
    return fault != nullptr ? Fail(*fault) : Real<int(int, off_t)>("ftruncate")(fd, size);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    if (const Plan* fault = FaultOf(Thread)) {
        return PlannedErrno(*fault);
    }
    return Real<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create")(
        thread, attributes, start, argument);
}

struct tm* localtime_r(const time_t* time, struct tm* local) noexcept {
    if (const Plan* fault = FaultOf(Localtime)) {
        Fail(*fault);
        return nullptr;
    }
    return Real<struct tm*(const time_t*, struct tm*)>("localtime_r")(time, local);
}

int nanosleep(const struct timespec* time, struct timespec* left) {
    return IsSleepless()
               ? SleepNot(left)
               : Real<int(const struct timespec*, struct timespec*)>("nanosleep")(time, left);
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* time,
                    struct timespec* left) {
    return IsSleepless() ? SleepNot(left)
                         : Real<int(clockid_t, int, const struct timespec*, struct timespec*)>(
                               "clock_nanosleep")(clock, flags, time, left);
}

int tovi_get_device_count(int* count) {
    return FaultOf(DeviceGet) != nullptr ? kDeviceError
                                         : Real<int(int*)>("tovi_get_device_count")(count);
}

int tovi_list_device(int* devices, int count) {
    return FaultOf(DeviceGet) != nullptr ? kDeviceError
                                         : Real<int(int*, int)>("tovi_list_device")(devices, count);
}

int tovi_get_device_info(unsigned device, unsigned mainCommand, unsigned subCommand, void* buffer,
                         unsigned* size) {
    return FaultOf(DeviceGet) != nullptr
               ? kDeviceError
               : Real<int(unsigned, unsigned, unsigned, void*, unsigned*)>("tovi_get_device_info")(
                     device, mainCommand, subCommand, buffer, size);
}

int tovi_set_device_info(unsigned device, unsigned mainCommand, unsigned subCommand,
                         const void* buffer, unsigned size) {
    return FaultOf(DeviceSet) != nullptr
               ? kDeviceError
               : Real<int(unsigned, unsigned, unsigned, const void*, unsigned)>(
                     "tovi_set_device_info")(device, mainCommand, subCommand, buffer, size);
}

int kesBuffCfg(unsigned command, void* setting, unsigned size) {
    return FaultOf(DeviceSet) != nullptr
               ? kDeviceError
               : Real<int(unsigned, void*, unsigned)>("kesBuffCfg")(command, setting, size);
}

int kesBuffGetInfo(unsigned type, void* in, unsigned inSize, void* out, unsigned* outSize) {
    return FaultOf(DeviceGet) != nullptr ? kDeviceError
                                         : Real<int(unsigned, void*, unsigned, void*, unsigned*)>(
                                               "kesBuffGetInfo")(type, in, inSize, out, outSize);
}

}  // extern "C"
