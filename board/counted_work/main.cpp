// counted_work: a program of known behaviour, to be put under profilers. It does what its mode says
// until its rounds are over or an interrupt comes, and prints its own account, which their results
// can be held against. It keeps to the C library, so that what is measured is its own.
//
// usage: counted_work MODE [ROUNDS]

#include <cstdlib>
#include <cstring>

#include "board/counted_work/account.h"
#include "board/counted_work/modes.h"

namespace zarn::board {
namespace {

struct Mode {
    const char* name;
    int (*run)(long rounds);
};

constexpr Mode kModes[] = {
    {"calls", MakeCallsWhenTraced},
    {"calls_untraced", MakeCalls},
    {"heap", FollowHeapPlan},
    {"loops", SpinLoops},
};

// What the words ask for; -1 if it is no number.
long RoundsOf(int count, char** words) {
    if (count < 3) {
        return 0;
    }
    char* end = nullptr;
    const long rounds = std::strtol(words[2], &end, 10);
    return end != words[2] && *end == '\0' ? rounds : -1;
}

int Run(int count, char** words) {
    const long rounds = RoundsOf(count, words);
    for (const Mode& mode : kModes) {
        if (count >= 2 && count <= 3 && rounds >= 0 && std::strcmp(words[1], mode.name) == 0) {
            return mode.run(rounds);
        }
    }
    Tell("usage: counted_work MODE [ROUNDS]");
    for (const Mode& mode : kModes) {
        Tell("mode: %s", mode.name);
    }
    return 2;
}

}  // namespace
}  // namespace zarn::board

int main(int count, char** words) {
    return zarn::board::Run(count, words);
}
