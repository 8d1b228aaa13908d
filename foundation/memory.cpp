#include "foundation/memory.h"

#include <malloc.h>

#include <stdexcept>

namespace zarn {

void KeepFreedMemory() {
    constexpr int kKeptBytes = 16 << 20;
    ::mallopt(M_TRIM_THRESHOLD, kKeptBytes);
}

void MakeRoom(std::string& text, std::size_t more) {
    constexpr std::size_t kLong = 65536;
    if (text.size() < kLong || text.capacity() - text.size() >= more) {
        return;
    }
    try {
        text.reserve(text.capacity() * 4);
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace zarn
