#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "foundation/byte_buffer.h"

namespace zarn {

// When each call of a system call began and what it cost, as the texts of the trace. Needs no more
// memory than these.
class CallDetails {
public:
    // Takes a line of the first and the last word of a call in the trace: "12:00:00.000001
    // <0.000012>". Passed over is one whose last word is no decimal number between brackets, such
    // as a call that did not end, and one of a single word.
    void Add(std::string_view line);

    [[nodiscard]] bool IsEmpty() const { return size_ == 0; }

    // Calls `take` with each call's begin, as written, and cost, without the brackets.
    void ForEach(const std::function<void(std::string_view, std::string_view)>& take) const;

private:
    ByteBuffer words_;  // begin and cost of each, a blank behind either
    std::size_t size_ = 0;
};

}  // namespace zarn
