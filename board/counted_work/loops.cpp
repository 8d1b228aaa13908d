// Functions that a profiler can tell apart by their names, each with a known number of
// instructions.

#include <cinttypes>
#include <cstdint>
#include <utility>

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

// A call of any of the functions.
constexpr std::uint64_t kPiece = 100000;

// Takes exactly as many instructions as a piece has, and a few to come and go. What else would be
// the same code is told apart by its number, so that no compiler makes one function of several.
template <int kNumber>
[[gnu::always_inline]] inline void Spin() {
    std::uint64_t turns = kPiece / kTurn;
#if defined(__x86_64__)
    asm volatile("1: dec %0\n\tjnz 1b" : "+r"(turns) : "i"(kNumber) : "cc");
#elif defined(__aarch64__)
    asm volatile("1: subs %0, %0, #1\n\tb.ne 1b" : "+r"(turns) : "i"(kNumber) : "cc");
#else
#error "the instructions of this processor are not counted"
#endif
}

}  // namespace

void spin_sixty() {
    Spin<60>();
}

void spin_thirty() {
    Spin<30>();
}

void spin_ten() {
    Spin<10>();
}

namespace zarn::board {
namespace {

// Of an instruction profile the program's start is a small part then.
constexpr std::uint64_t kLeastRounds = 50;

struct Loop {
    const char* name;
    void (*run)();
    std::uint64_t pieces;  // of a round
};

constexpr Loop kLoops[] = {
    {"spin_sixty", spin_sixty, 6},
    {"spin_thirty", spin_thirty, 3},
    {"spin_ten", spin_ten, 1},
};
constexpr std::uint32_t kPieces = 10;

// The pieces of a round, by the numbers of their functions, in another order each time: always the
// same one would beat against the moments at which a profiler looks.
class Round {
public:
    void Shuffle() {
        for (std::uint32_t left = kPieces; left > 1; --left) {
            std::swap(order_[left - 1], order_[Random() % left]);
        }
    }
    [[nodiscard]] const int* begin() const { return order_; }
    [[nodiscard]] const int* end() const { return order_ + kPieces; }

private:
    std::uint32_t Random() {
        state_ ^= state_ << 13U;
        state_ ^= state_ >> 17U;
        state_ ^= state_ << 5U;
        return state_;
    }

    int order_[kPieces] = {0, 0, 0, 0, 0, 0, 1, 1, 1, 2};
    std::uint32_t state_ = 2463534242U;
};

}  // namespace

// The account: a line for each function, with its instructions, the milliseconds of the processor
// that it took, and its shares of both in percent.
int SpinLoops(long rounds) {
    constexpr int kCount = sizeof(kLoops) / sizeof(kLoops[0]);
    double spentMs[kCount] = {};
    std::uint64_t done = 0;
    Round round;
    Begin();
    do {
        round.Shuffle();
        for (const int loop : round) {
            const double before = ThreadMs();
            kLoops[loop].run();
            spentMs[loop] += ThreadMs() - before;
        }
        ++done;
    } while ((done < kLeastRounds || !IsInterrupted()) &&
             (rounds == 0 || done < static_cast<std::uint64_t>(rounds)));
    double allMs = 0.0;
    for (const double ms : spentMs) {
        allMs += ms;
    }
    for (int i = 0; i < kCount; ++i) {
        const Loop& loop = kLoops[i];
        Tell("%s instructions %" PRIu64 " %.2f%% ms %.1f %.2f%%", loop.name,
             done * loop.pieces * kPiece, 100.0 * static_cast<double>(loop.pieces) / kPieces,
             spentMs[i], allMs > 0.0 ? 100.0 * spentMs[i] / allMs : 0.0);
    }
    return 0;
}

}  // namespace zarn::board
