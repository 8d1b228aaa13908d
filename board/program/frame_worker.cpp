// The work of a board's program: functions that a profiler can tell apart by their names, each with
// the share of the processor's time that the plan gives it. What they compute is of no use to
// anybody.

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <ctime>

#include "board/program/work.h"

// Names without arguments and namespaces, as rows of a profile are read by their blanks.
extern "C" {
void decode_frame();
void filter_image();
void match_features();
void plan_route();
void copy_frame();
void pack_result();
#if ZARN_WORK_VERSION == 2
void sort_tracks();
#endif
void work_loop(const zarn::board::ProgramOrder* order);
}

namespace {

constexpr std::size_t kCells = 16384;
// What the functions work on. Threads share it; what is in it does not matter.
volatile std::uint32_t cells[kCells];

// Long enough to be dear beside reading the clock, short enough to follow the shares closely.
constexpr int kRounds = 8;

}  // namespace

void decode_frame() {
    std::uint32_t code = 1;
    for (std::size_t i = 0; i < kRounds * kCells; ++i) {
        code = (code >> 1U) ^ ((code & 1U) * 0xEDB88320U) ^ static_cast<std::uint32_t>(i);
    }
    cells[0] = code;
}

void filter_image() {
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 1; i + 1 < kCells; ++i) {
            cells[i] = (cells[i - 1] + 2 * cells[i] + cells[i + 1]) / 4;
        }
    }
}

void match_features() {
    double sum = 0.0;
    for (std::size_t i = 1; i < kRounds * kCells; ++i) {
        sum += 1.0 / static_cast<double>(i);
    }
    cells[1] = static_cast<std::uint32_t>(sum);
}

void plan_route() {
    std::uint32_t at = 0;
    for (std::size_t i = 0; i < kRounds * kCells; ++i) {
        at = (at * 1664525U + cells[at % kCells] + 1013904223U);
    }
    cells[2] = at;
}

void copy_frame() {
    for (int round = 0; round < 2 * kRounds; ++round) {
        for (std::size_t i = 0; i < kCells / 2; ++i) {
            cells[kCells / 2 + i] = cells[i];
        }
    }
}

void pack_result() {
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < kRounds * kCells; ++i) {
        packed = (packed << 3U | packed >> 29U) + static_cast<std::uint32_t>(i);
    }
    cells[3] = packed;
}

#if ZARN_WORK_VERSION == 2
void sort_tracks() {
    for (int round = 0; round < kRounds * 512; ++round) {
        for (std::size_t i = 1; i < 32; ++i) {
            const std::uint32_t lower = cells[i] < cells[i - 1] ? cells[i] : cells[i - 1];
            cells[i] = cells[i] + cells[i - 1] - lower;
            cells[i - 1] = lower;
        }
    }
}
#endif

namespace zarn::board {
namespace {

using Work = void (*)();

// In the order of kWorkFunctions.
constexpr std::array<Work, kWorkFunctionCount> kWork {
    decode_frame, filter_image, match_features, plan_route, copy_frame, pack_result,
#if ZARN_WORK_VERSION == 2
        sort_tracks,
#else
        nullptr,
#endif
};

constexpr std::uint64_t kNsPerSecond = 1000000000;
constexpr std::uint64_t kLeastPauseNs = 2000000;
constexpr std::size_t kStack = 65536;

// What a program's threads have spent in each function so far, in the board's state; nothing
// without it.
WorkAccount* account = nullptr;

std::uint64_t ThreadNs() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kNsPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec);
}

void Pause(std::uint64_t ns) {
    const timespec pause{static_cast<time_t>(ns / kNsPerSecond),
                         static_cast<long>(ns % kNsPerSecond)};
    ::nanosleep(&pause, nullptr);
}

// Random numbers, from 0 up to 1.
class Dice {
public:
    double Next() {
        state_ ^= state_ << 13U;
        state_ ^= state_ >> 17U;
        state_ ^= state_ << 5U;
        return state_ * 0x1p-32;
    }

private:
    std::uint32_t state_ = 2463534242U;
};

// About the function that has had the least of what it is to have: always the same order would beat
// against the moments at which a profiler looks.
std::size_t NextOf(const PerFunction& shares, const PerFunction& spentNs, Dice& dice) {
    constexpr double kSlackNs = 2e7;
    std::size_t next = 0;
    double least = 0.0;
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        if (kWork[i] == nullptr || shares[i] <= 0.0) {
            continue;
        }
        const double had = spentNs[i] / shares[i] + kSlackNs * dice.Next();
        if (least == 0.0 || had < least) {
            least = had;
            next = i;
        }
    }
    return next;
}

void MapAccount(const ProgramOrder& order) {
    void* state =
        ::mmap(nullptr, order.stateSize, PROT_READ | PROT_WRITE, MAP_SHARED, order.stateFd, 0);
    if (state != MAP_FAILED) {
        account = reinterpret_cast<WorkAccount*>(static_cast<char*>(state) + order.accountOffset);
    }
}

void* Worker(void* order) {
    work_loop(static_cast<const ProgramOrder*>(order));
    return nullptr;
}

}  // namespace

std::uint32_t StartWork(const ProgramOrder& order) {
    MapAccount(order);
    std::uint32_t workers = 0;
    for (std::uint32_t core = 0; core < kMaxCores; ++core) {
        if ((order.plan.pipeline.cores & (1U << core)) == 0) {
            continue;
        }
        pthread_attr_t attributes;
        ::pthread_attr_init(&attributes);
        ::pthread_attr_setstacksize(&attributes, kStack);
        pthread_t thread{};
        if (::pthread_create(&thread, &attributes, Worker, const_cast<ProgramOrder*>(&order)) !=
            0) {
            continue;
        }
        ++workers;
        // A core that the machine has not is left to the kernel.
        cpu_set_t own;
        CPU_ZERO(&own);
        CPU_SET(core, &own);
        (void)::pthread_setaffinity_np(thread, sizeof(own), &own);
    }
    return workers;
}

}  // namespace zarn::board

// Works and rests, by the load of the plan.
void work_loop(const zarn::board::ProgramOrder* order) {
    using namespace zarn::board;
    const PipelineProfile& profile = order->plan.pipeline;
    PerFunction spentNs{};
    double owedNs = 0.0;
    Dice dice;
    while (true) {
        const std::size_t next = NextOf(profile.functions, spentNs, dice);
        const std::uint64_t before = ThreadNs();
        kWork[next]();
        const std::uint64_t spent = ThreadNs() - before;
        spentNs[next] += static_cast<double>(spent);
        if (account != nullptr) {
            (*account)[next].fetch_add(spent, std::memory_order_relaxed);
        }
        owedNs += static_cast<double>(spent) * (1.0 / profile.load - 1.0);
        if (owedNs > static_cast<double>(kLeastPauseNs)) {
            Pause(static_cast<std::uint64_t>(owedNs));
            owedNs = 0.0;
        }
    }
}
