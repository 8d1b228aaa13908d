#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace zarn::bench {

// The base of every generator of benchmark input: the same seed gives the same bytes on every
// machine and with every standard library (the standard distributions would not).
class Generator {
public:
    explicit Generator(std::uint64_t seed) : engine_(seed) {}

    // A number from 0 to bound - 1; `bound` is at least 1.
    std::uint64_t Below(std::uint64_t bound) { return engine_() % bound; }

    // A number from `low` to `high`, both included.
    std::int64_t Between(std::int64_t low, std::int64_t high);

    // True in `percent` of 100 draws.
    bool Chance(unsigned percent) { return Below(100) < percent; }

    // `size` bytes drawn from `alphabet`, which is not empty.
    std::string Text(std::size_t size, std::string_view alphabet);

    // A percentage as tools print it: "0.0" to "100.0" with one decimal.
    std::string Percentage();

private:
    std::mt19937_64 engine_;
};

}  // namespace zarn::bench
