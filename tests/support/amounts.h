#pragma once

#include <cstddef>

namespace zarn::test {

// How much a test takes of what is a matter of amount alone: the lengths of the longest lines, the
// depths of the deepest documents. Under a sanitizer or an emulator each step costs many times as
// much, and what goes wrong does so at an eighth of it.
constexpr std::size_t Amount(std::size_t amount) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(ZARN_EMULATED)
    return amount / 8;
#else
    return amount;
#endif
}

}  // namespace zarn::test
