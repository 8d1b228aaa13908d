#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace zarn {

// Memory for bytes that come in unknown numbers. It grows by realloc, which moves the pages of a
// large one instead of copying them, and what is not used yet is not touched.
class ByteBuffer {
public:
    ByteBuffer() = default;
    ByteBuffer(ByteBuffer&& other) noexcept
        : memory_(std::move(other.memory_)), room_(std::exchange(other.room_, 0)) {}
    ByteBuffer& operator=(ByteBuffer&&) = delete;

    [[nodiscard]] char* Data() const { return memory_.get(); }
    [[nodiscard]] std::size_t Room() const { return room_; }
    [[nodiscard]] std::string_view Text(std::size_t size) const { return {Data(), size}; }

    // Makes room for `more` bytes behind the first `used`, which stay. Throws std::bad_alloc, and
    // stays as it was, where memory does not suffice.
    void Reserve(std::size_t used, std::size_t more) {
        if (room_ - used >= more) {
            return;
        }
        const std::size_t room = std::max(2 * room_, used + more);
        auto* grown = static_cast<char*>(std::realloc(memory_.get(), room));
        if (grown == nullptr) {
            throw std::bad_alloc();
        }
        (void)memory_.release();
        memory_.reset(grown);
        room_ = room;
    }

private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    std::unique_ptr<char, Free> memory_;
    std::size_t room_ = 0;
};

}  // namespace zarn
