#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Reading and writing of the records that the device calls exchange: bytes of fixed places, words
// of 32 bits, little-endian.
namespace zarn::board {

// A record that is only read. The bytes are the caller's.
class RecordReader {
public:
    RecordReader(const void* bytes, std::size_t size)
        : bytes_(static_cast<const unsigned char*>(bytes)), size_(size) {}

    [[nodiscard]] std::uint8_t Byte(std::size_t offset) const { return bytes_[offset]; }

    [[nodiscard]] std::uint32_t Word(std::size_t offset) const {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i > 0; --i) {
            value = value << 8U | bytes_[offset + i - 1];
        }
        return value;
    }

    // Whether all bytes from `offset` to the end are zero.
    [[nodiscard]] bool IsZeroFrom(std::size_t offset) const {
        for (std::size_t i = offset; i < size_; ++i) {
            if (bytes_[i] != 0) {
                return false;
            }
        }
        return true;
    }

private:
    const unsigned char* bytes_;
    std::size_t size_;
};

// Writes `value` as `width` bytes at `offset` of `bytes`.
inline void PutNumber(void* bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
    auto* place = static_cast<unsigned char*>(bytes) + offset;
    for (std::size_t i = 0; i < width; ++i) {
        place[i] = static_cast<unsigned char>(value >> (8U * i));
    }
}

inline void PutWord(void* bytes, std::size_t offset, std::uint32_t value) {
    PutNumber(bytes, offset, value, 4);
}

}  // namespace zarn::board
