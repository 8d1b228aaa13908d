#pragma once

#include <functional>
#include <string_view>

namespace zarn::test {

// Why the memory of a test's process cannot be limited here; empty if it can.
[[nodiscard]] std::string_view WhyNoMemoryLimit();

// For a death test: runs `action` with 256 MiB of address space and ends the process, with status 0
// if it gives true.
[[noreturn]] void ExitBelowAMemoryLimit(const std::function<bool()>& action);

}  // namespace zarn::test
