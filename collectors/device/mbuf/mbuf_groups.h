#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What the shell is asked about the processes of a buffer, and the reading of its answers.
namespace zarn {

[[nodiscard]] std::string MbufProcessCommand(std::uint32_t pid);
// The number of a process's buffer groups, and a word for each of them.
[[nodiscard]] std::string MbufGroupCountCommand(std::uint32_t pid);
[[nodiscard]] std::string MbufGroupsCommand(std::uint32_t pid);

// The names of the groups, each followed by ",", of words such as "0:camera(". Takes at most
// `count` of them.
[[nodiscard]] std::string JoinMbufGroups(const std::vector<std::string>& words, int count);

}  // namespace zarn
