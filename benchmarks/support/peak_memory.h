#pragma once

#include <functional>

namespace zarn::bench {

// The bytes that `run` adds to the process's memory at its peak; what was freed before does not
// count. Less than 0 if it fails.
[[nodiscard]] double PeakMemoryOf(const std::function<bool()>& run);

}  // namespace zarn::bench
