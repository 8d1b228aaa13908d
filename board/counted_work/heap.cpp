// Memory of the heap that grows and shrinks by a plan, taken by functions that a profiler can tell
// apart by their names.

#include <cstddef>
#include <cstdlib>

#include "board/counted_work/account.h"
#include "board/counted_work/modes.h"

extern "C" {
void* hold_frame();
void* hold_map();
}

namespace {

constexpr std::size_t kMb = 1U << 20U;
constexpr std::size_t kPage = 4096;

// A block whose memory is there. What is written to it must not look idle to the compiler.
void* Touched(void* block) {
    if (block != nullptr) {
        for (std::size_t place = 0; place < kMb; place += kPage) {
            static_cast<volatile char*>(block)[place] = 1;
        }
    }
    return block;
}

}  // namespace

void* hold_frame() {
    return Touched(std::malloc(kMb));
}

void* hold_map() {
    return Touched(std::malloc(kMb));
}

namespace zarn::board {
namespace {

constexpr int kMost = 48;

// Blocks of 1 MiB, taken by one function and given back the last first.
class Holder {
public:
    explicit Holder(void* (*hold)()) : hold_(hold) {}

    // False where there is no memory.
    bool Become(int count) {
        while (count_ < count) {
            blocks_[count_] = hold_();
            if (blocks_[count_] == nullptr) {
                return false;
            }
            ++count_;
        }
        while (count_ > count) {
            std::free(blocks_[--count_]);
        }
        return true;
    }

private:
    void* (*hold_)();
    void* blocks_[kMost] = {};
    int count_ = 0;
};

// How much each function holds, in MiB. The most is 64, once in a round.
struct Step {
    int frames;
    int maps;
};
constexpr Step kPlan[] = {{12, 4}, {40, 8}, {20, 8}, {48, 16}, {30, 2}, {36, 12}, {4, 4}, {0, 0}};
constexpr Step kPeak = {48, 16};

}  // namespace

// The account: how often the plan was followed and the milliseconds of the processor that it took,
// and the bytes that each function held at the peak, and both.
int FollowHeapPlan(long rounds) {
    Holder frames(hold_frame);
    Holder maps(hold_map);
    long done = 0;
    Begin();
    const double before = ThreadMs();
    do {
        for (const Step& step : kPlan) {
            if (!frames.Become(step.frames) || !maps.Become(step.maps)) {
                Tell("no memory");
                return 1;
            }
        }
        ++done;
    } while (!IsInterrupted() && (rounds == 0 || done < rounds));
    Tell("rounds %ld ms %.1f", done, ThreadMs() - before);
    Tell("hold_frame bytes %zu", static_cast<std::size_t>(kPeak.frames) * kMb);
    Tell("hold_map bytes %zu", static_cast<std::size_t>(kPeak.maps) * kMb);
    Tell("peak bytes %zu", static_cast<std::size_t>(kPeak.frames + kPeak.maps) * kMb);
    return 0;
}

}  // namespace zarn::board
