#include "board/state/board_state.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <mutex>
#include <string>
#include <type_traits>

namespace zarn::board {
namespace {

constexpr std::array<char, 8> kMagic{'v', 'b', 'o', 'a', 'r', 'd', '0', '1'};
constexpr std::uint32_t kVersion = 9;
constexpr std::uint64_t kNsPerMs = 1000000;

static_assert(std::is_standard_layout_v<BoardState>);
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

std::uint64_t MonotonicNs() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000 * kNsPerMs +
           static_cast<std::uint64_t>(now.tv_nsec);
}

// Makes the lock one that processes share and that survives the death of its holder, where the C
// library offers that.
bool InitLock(pthread_mutex_t& lock) {
    pthread_mutexattr_t attributes;
    if (::pthread_mutexattr_init(&attributes) != 0) {
        return false;
    }
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    int result = ::pthread_mutex_init(&lock, &attributes);
    if (result == ENOTSUP) {  // an emulator without robust locks
        ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_STALLED);
        result = ::pthread_mutex_init(&lock, &attributes);
    }
    ::pthread_mutexattr_destroy(&attributes);
    return result == 0;
}

// Maps the file shared, for reading and writing; nullptr if it is not of the state's size.
BoardState* MapFile(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0 || status.st_size != sizeof(BoardState)) {
        return nullptr;
    }
    void* memory = ::mmap(nullptr, sizeof(BoardState), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<BoardState*>(memory);
}

// A board once attached, with the path it was found by.
struct Attachment {
    std::string path;
    BoardState* state = nullptr;
};

}  // namespace

BoardLock::BoardLock(BoardState& state) : state_(state) {
    if (::pthread_mutex_lock(&state_.lock) == EOWNERDEAD) {
        ::pthread_mutex_consistent(&state_.lock);
    }
}

BoardLock::~BoardLock() {
    ::pthread_mutex_unlock(&state_.lock);
}

void ResetSettings(BoardState& state) {
    for (const BusMaster& master : kMasters) {
        state.partitions[master.mpamid] = PartitionBounds{};
        if (master.number != kNoMasterNumber) {
            state.masters[master.number] = MasterConfig{master.mpamid, 5};
        }
    }
}

bool CreateBoardState(const char* path, const BoardState& initial) {
    ::unlink(path);
    const int fd = ::open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        return false;
    }
    // A hole in the file would end the process on a full disk, at the first touch.
    BoardState* state = ::posix_fallocate(fd, 0, sizeof(BoardState)) == 0 ? MapFile(fd) : nullptr;
    ::close(fd);
    if (state == nullptr) {
        return false;
    }
    std::memcpy(static_cast<void*>(state), static_cast<const void*>(&initial), sizeof(BoardState));
    state->version = kVersion;
    state->size = sizeof(BoardState);
    state->startNs = MonotonicNs();
    const bool ready = InitLock(state->lock);
    if (ready) {
        state->magic = kMagic;
    }
    ::munmap(state, sizeof(BoardState));
    return ready;
}

BoardState* MapBoardState(const char* path) {
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    BoardState* state = MapFile(fd);
    ::close(fd);
    if (state != nullptr && (state->magic != kMagic || state->version != kVersion ||
                             state->size != sizeof(BoardState))) {
        ::munmap(state, sizeof(BoardState));
        return nullptr;
    }
    return state;
}

BoardState* AttachBoard() {
    static std::atomic<const Attachment*> current{nullptr};
    static std::mutex attaching;
    const char* path = ::getenv(kStateVariable);
    if (path == nullptr || *path == '\0') {
        return nullptr;
    }
    const Attachment* attached = current.load(std::memory_order_acquire);
    if (attached != nullptr && attached->path == path) {
        return attached->state;
    }
    const std::lock_guard<std::mutex> guard(attaching);
    BoardState* state = MapBoardState(path);
    if (state != nullptr) {
        // Former attachments stay: another thread may be in the middle of a call.
        static std::deque<Attachment> attachments;
        current.store(&attachments.emplace_back(Attachment{path, state}),
                      std::memory_order_release);
    }
    return state;
}

std::uint64_t BoardTimeMs(const BoardState& state) {
    return BoardTimeUs(state) / 1000;
}

std::uint64_t BoardTimeUs(const BoardState& state) {
    const std::uint64_t now = MonotonicNs();
    return now < state.startNs ? 0 : (now - state.startNs) / 1000;
}

void Beat(BoardState& state) {
    state.heartbeatNs.store(MonotonicNs(), std::memory_order_relaxed);
}

std::uint64_t MsSinceBeat(const BoardState& state) {
    const std::uint64_t last = state.heartbeatNs.load(std::memory_order_relaxed);
    const std::uint64_t now = MonotonicNs();
    return last == 0 || now < last ? 0 : (now - last) / kNsPerMs;
}

std::int32_t OwnProcessId() {
    static std::atomic<std::int32_t> known{0};
    [[maybe_unused]] static const int result =
        ::pthread_atfork(nullptr, nullptr, [] { known = 0; });
    if (known == 0) {
        known = ::getpid();
    }
    return known;
}

void AnnounceChange(BoardState& state) {
    state.generation.fetch_add(1, std::memory_order_release);
}

bool WaitForChange(const BoardState& state, std::uint32_t known, std::uint32_t timeoutMs,
                   const Pause& goesOn) {
    constexpr std::uint64_t kLookMs = 5;
    const std::uint64_t end = MonotonicNs() + timeoutMs * kNsPerMs;
    while (state.generation.load(std::memory_order_acquire) == known) {
        const std::uint64_t now = MonotonicNs();
        if (now >= end) {
            return true;
        }
        const std::uint64_t left = (end - now + kNsPerMs - 1) / kNsPerMs;
        if (!goesOn(static_cast<int>(std::min(kLookMs, left)))) {
            return false;
        }
    }
    return true;
}

}  // namespace zarn::board
