// board_probe: makes one call of the device libraries, as a program on the board would, and prints
// what came of it: the code, and for a question the size and the first words of the answer.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tovi_device.h"

namespace {

using Words = std::array<unsigned, 26>;

int Report(int code, unsigned size, const Words& words) {
    std::printf("%d %u %u %u %u\n", code, size, words[1], words[2], words[3]);
    return code == 0 ? 0 : 1;
}

// get MAIN SUB KEY SIZE
int Get(const std::vector<unsigned>& numbers) {
    Words words{numbers[2]};
    unsigned size = numbers[3];
    const int code =
        tovi_get_device_info(0, numbers[0], numbers[2] << 8U | numbers[1], words.data(), &size);
    return Report(code, size, words);
}

// bounds MPAMID HIGH LOW HARDLIMIT
int SetBounds(const std::vector<unsigned>& numbers) {
    const Words words{numbers[0], numbers[1], numbers[2], numbers[3]};
    return Report(tovi_set_device_info(0, 13, 0, words.data(), 48), 48, words);
}

// monitor: starts it for the ten partitions
int StartMonitor(const std::vector<unsigned>& /*numbers*/) {
    const Words words{0x000A0201, 10000, 0, 1, 2, 3, 5, 6, 7, 8, 9, 10};
    return Report(tovi_set_device_info(0, 13, 2, words.data(), 104), 104, words);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<unsigned> numbers(8, 0);
    for (int i = 2; i < argc && i < 10; ++i) {
        numbers[static_cast<std::size_t>(i - 2)] =
            static_cast<unsigned>(std::strtoul(argv[i], nullptr, 10));
    }
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "get") {
        return Get(numbers);
    }
    if (what == "bounds") {
        return SetBounds(numbers);
    }
    return what == "monitor" ? StartMonitor(numbers) : 2;
}
