#include "foundation/memory.h"

#include <malloc.h>

namespace zarn {

void KeepFreedMemory() {
    constexpr int kKeptBytes = 16 << 20;
    ::mallopt(M_TRIM_THRESHOLD, kKeptBytes);
}

}  // namespace zarn
