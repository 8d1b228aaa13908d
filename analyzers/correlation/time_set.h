#pragma once

#include <cstddef>

#include "analyzers/correlation/time_digits.h"
#include "foundation/byte_buffer.h"

namespace zarn {

// The moments of all sources, which become the rows of the table. There may be millions: each takes
// its 20 bytes and no more.
class TimeSet {
public:
    void Add(const TimeDigits& time);

    // How many were added, and taking back all but the first so many. Before Sort only.
    [[nodiscard]] std::size_t Added() const { return size_; }
    void TakeBack(std::size_t added) { size_ = added; }

    // Brings the moments into rising order, each once.
    void Sort();

    [[nodiscard]] const TimeDigits* begin() const { return Moments(); }
    [[nodiscard]] const TimeDigits* end() const { return Moments() + size_; }

private:
    [[nodiscard]] TimeDigits* Moments() const;

    ByteBuffer memory_;
    std::size_t size_ = 0;
};

}  // namespace zarn
