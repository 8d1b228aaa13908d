#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zarn {

// Where the search gets its random numbers from. Tests hand in a sequence.
class RandomSource {
public:
    RandomSource() = default;
    RandomSource(const RandomSource&) = delete;
    RandomSource& operator=(const RandomSource&) = delete;
    virtual ~RandomSource() = default;

    // An integer drawn uniformly from `first` to `last`, both included; `first` <= `last`.
    virtual std::size_t Index(std::size_t first, std::size_t last) = 0;

    // A real from 0 to 1 excluding 1.
    virtual double Canonical() = 0;
};

// Reads /dev/urandom. Every draw makes a new 32-bit Mersenne twister, seeded with one output of the
// random device; a real takes two outputs of it. std::runtime_error if the device cannot be read.
RandomSource& DeviceRandomSource();

// Draws from `index` to the last element of `values`, stores the drawn index in `index` and returns
// the element. std::out_of_range if there is no element at `index` or after it.
std::uint16_t RandomSpaceIndex(const std::vector<std::uint16_t>& values, std::size_t& index,
                               RandomSource& random);

// a + (b - a) * c, c a canonical real; `a` may be above `b`.
double RandomReal(double a, double b, RandomSource& random);

}  // namespace zarn
