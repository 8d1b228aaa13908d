#pragma once

#include <cstdint>
#include <string>

namespace zarn {

// The shell command that records for `duration` seconds where a process spends its processor time
// and misses its caches, into `path` and the suffix of recordings, and appends the call stacks to
// the text beside it.
[[nodiscard]] std::string LibRecordCommand(const std::string& pid, const std::string& path,
                                           std::uint32_t duration);

}  // namespace zarn
