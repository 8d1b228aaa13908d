// Functions that a profiler can tell apart by their names, each with a known number of
// instructions.

#include <cinttypes>
#include <cstdint>

#include "board/counted_work/account.h"
#include "board/counted_work/modes.h"

// Names without arguments and namespaces, as rows of a profile are read by their blanks.
extern "C" {
void spin_sixty();
void spin_thirty();
void spin_ten();
}

namespace {

// Instructions of a turn of the loop below.
constexpr std::uint64_t kTurn = 2;

// Takes exactly that many instructions, and a few to come and go.
[[gnu::always_inline]] inline void Spin(std::uint64_t instructions) {
    std::uint64_t turns = instructions / kTurn;
#if defined(__x86_64__)
    asm volatile("1: dec %0\n\tjnz 1b" : "+r"(turns) : : "cc");
#elif defined(__aarch64__)
    asm volatile("1: subs %0, %0, #1\n\tb.ne 1b" : "+r"(turns) : : "cc");
#else
#error "the instructions of this processor are not counted"
#endif
}

constexpr std::uint64_t kSixty = 600000;
constexpr std::uint64_t kThirty = 300000;
constexpr std::uint64_t kTen = 100000;

}  // namespace

void spin_sixty() {
    Spin(kSixty);
}

void spin_thirty() {
    Spin(kThirty);
}

void spin_ten() {
    Spin(kTen);
}

namespace zarn::board {
namespace {

// Of an instruction profile the program's start is a small part then.
constexpr std::uint64_t kLeastRounds = 50;

struct Loop {
    const char* name;
    void (*run)();
    std::uint64_t instructions;  // of a round
};

constexpr Loop kLoops[] = {
    {"spin_sixty", spin_sixty, kSixty},
    {"spin_thirty", spin_thirty, kThirty},
    {"spin_ten", spin_ten, kTen},
};

}  // namespace

// The account: a line for each function, with its instructions, the milliseconds of the processor
// that it took, and its shares of both in percent.
int SpinLoops(long rounds) {
    constexpr int kCount = sizeof(kLoops) / sizeof(kLoops[0]);
    double spentMs[kCount] = {};
    std::uint64_t done = 0;
    Begin();
    do {
        for (int i = 0; i < kCount; ++i) {
            const double before = ThreadMs();
            kLoops[i].run();
            spentMs[i] += ThreadMs() - before;
        }
        ++done;
    } while ((done < kLeastRounds || !IsInterrupted()) &&
             (rounds == 0 || done < static_cast<std::uint64_t>(rounds)));
    double allMs = 0.0;
    std::uint64_t round = 0;
    for (int i = 0; i < kCount; ++i) {
        allMs += spentMs[i];
        round += kLoops[i].instructions;
    }
    for (int i = 0; i < kCount; ++i) {
        const std::uint64_t instructions = done * kLoops[i].instructions;
        Tell("%s instructions %" PRIu64 " %.2f%% ms %.1f %.2f%%", kLoops[i].name, instructions,
             100.0 * static_cast<double>(kLoops[i].instructions) / static_cast<double>(round),
             spentMs[i], allMs > 0.0 ? 100.0 * spentMs[i] / allMs : 0.0);
    }
    return 0;
}

}  // namespace zarn::board
