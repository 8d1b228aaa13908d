#include "tests/support/memory_limit.h"

#include <sys/resource.h>

#include <cstdlib>

namespace zarn::test {

std::string_view WhyNoMemoryLimit() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return "a sanitizer's shadow does not fit below a limit of address space";
#else
    const std::string_view emulator = ZARN_EMULATOR;
    return emulator.empty() ? "" : "an emulator of another processor knows no limit of memory";
#endif
}

void ExitBelowAMemoryLimit(const std::function<bool()>& action) {
    const rlimit limit{rlim_t{1} << 28U, rlim_t{1} << 28U};
    ::setrlimit(RLIMIT_AS, &limit);
    std::exit(action() ? 0 : 1);
}

}  // namespace zarn::test
