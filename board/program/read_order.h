#pragma once

#include <unistd.h>

#include <cstddef>

namespace zarn::board {

// Reads what the server tells this process on its standard input, as bytes. False if it ends early.
template <typename Order>
bool ReadOrder(Order& order) {
    std::size_t size = 0;
    while (size < sizeof(order)) {
        const ssize_t got =
            ::read(STDIN_FILENO, reinterpret_cast<char*>(&order) + size, sizeof(order) - size);
        if (got <= 0) {
            return false;
        }
        size += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace zarn::board
