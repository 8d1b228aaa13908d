#pragma once

namespace zarn::bench {

// The CPU seconds of this process and of its children that have ended, in user and in kernel mode.
[[nodiscard]] double SecondsWithChildren();

}  // namespace zarn::bench
