// One of the board's programs, which has the memory of its plan and does nothing with it, and, as
// frame_worker, the plan's work. Started by the board's server. It is linked statically and without
// the C++ library, so that its memory is its own and little besides the plan.

#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <ctime>

#include "board/program/program_order.h"
#include "board/program/read_order.h"
#include "board/program/work.h"

namespace zarn::board {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kKb = 1024;
constexpr long kLookNs = 10000000;
constexpr std::size_t kThreadStack = 65536;

std::uint64_t BoardMs(std::uint64_t startNs) {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const std::uint64_t ns = static_cast<std::uint64_t>(now.tv_sec) * 1000000000 +
                             static_cast<std::uint64_t>(now.tv_nsec);
    return (ns - startNs) / 1000000;
}

// Memory in pages of the ordinary size, none of which is there before it is touched.
char* Map(std::size_t size, int flags, int fd) {
    void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, flags | MAP_NORESERVE, fd, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    ::madvise(memory, size, MADV_NOHUGEPAGE);
    return static_cast<char*>(memory);
}

void Touch(char* memory, std::size_t from, std::size_t to) {
    for (std::size_t place = from; place < to; place += kPage) {
        static_cast<volatile char*>(memory)[place] = 1;
    }
}

// The private memory: an area of the most that it may become, of which the plan's part is there.
class Private {
public:
    explicit Private(const ProgramPlan& plan)
        : plan_(plan), memory_(Map(plan.mostKb * kKb + kPage, MAP_PRIVATE | MAP_ANONYMOUS, -1)) {}

    void Follow(std::uint64_t timeMs) {
        const std::size_t size = PrivateKb(plan_, timeMs) * kKb / kPage * kPage;
        if (memory_ == nullptr) {
            return;
        }
        Touch(memory_, size_, size);
        if (size < size_) {
            ::madvise(memory_ + size, size_ - size, MADV_DONTNEED);
        }
        size_ = size;
    }

private:
    const ProgramPlan& plan_;
    char* memory_;
    std::size_t size_ = 0;
};

void* Idle(void* /*nothing*/) {
    while (true) {
        ::pause();
    }
}

void StartThreads(std::uint32_t count) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, kThreadStack);
    for (std::uint32_t i = 1; i < count; ++i) {
        pthread_t thread{};
        ::pthread_create(&thread, &attributes, Idle, nullptr);
    }
}

int Run() {
    static ProgramOrder order;
    if (!ReadOrder(order)) {
        return 2;
    }
    ::prctl(PR_SET_NAME, order.plan.name.data());
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != order.server) {
        return 1;
    }
    for (std::uint32_t i = 0; i < order.mappingCount; ++i) {
        const std::size_t size = order.mappings[i].kb * kKb;
        if (char* memory = Map(size, MAP_SHARED, order.mappings[i].fd)) {
            Touch(memory, 0, size);
        }
    }
    const std::uint32_t workers = StartWork(order);
    StartThreads(order.plan.threads > workers ? order.plan.threads - workers : 0);
    static Private memory(order.plan);
    memory.Follow(BoardMs(order.startNs));
    if (::write(STDOUT_FILENO, "ready\n", 6) != 6) {
        return 1;
    }
    while (true) {
        const timespec look{0, kLookNs};
        ::nanosleep(&look, nullptr);
        memory.Follow(BoardMs(order.startNs));
    }
}

}  // namespace
}  // namespace zarn::board

int main() {
    return zarn::board::Run();
}
