#pragma once

#include <cstdint>
#include <string>

namespace zarn {

// The shell command that records the call chains of a process, by its frame pointers, for
// `duration` seconds into the file `stem` with the recordings' suffix, and appends the samples as
// text to that with the suffix of samples.
[[nodiscard]] std::string CallChainCommand(const std::string& pid, const std::string& stem,
                                           std::uint32_t duration);

}  // namespace zarn
