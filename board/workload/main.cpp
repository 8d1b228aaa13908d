// board_workload: a program of known behaviour, for those who trace and profile on the board. It
// does what its mode says and prints its own account, which their results can be held against. It
// keeps to the C library, so that what is measured is its own.
//
// usage: board_workload MODE ROUNDS

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "board/workload/modes.h"

namespace {

struct Mode {
    const char* name;
    int (*run)(long rounds);
};

constexpr Mode kModes[] = {
    {"calls", zarn::board::MakeCallsWhenTraced},
    {"calls_untraced", zarn::board::MakeCalls},
};

// The number that a word is; -1 if it is none, or too large.
long RoundsOf(const char* word) {
    constexpr long kMost = 1000000000;
    char* end = nullptr;
    const long rounds = std::strtol(word, &end, 10);
    return end != word && *end == '\0' && rounds <= kMost ? rounds : -1;
}

int Refuse() {
    constexpr char kUsage[] = "usage: board_workload {calls|calls_untraced} ROUNDS\n";
    (void)!::write(STDERR_FILENO, kUsage, sizeof(kUsage) - 1);
    return 2;
}

}  // namespace

int main(int count, char** words) {
    const long rounds = count == 3 ? RoundsOf(words[2]) : -1;
    for (const Mode& mode : kModes) {
        if (rounds >= 0 && std::strcmp(words[1], mode.name) == 0) {
            return mode.run(rounds);
        }
    }
    return Refuse();
}
