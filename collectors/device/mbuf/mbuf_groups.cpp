#include "collectors/device/mbuf/mbuf_groups.h"

#include <string_view>

namespace zarn {
namespace {

constexpr std::size_t kNumberSize = 2;  // of "0:"; groups from the tenth on keep their colon

std::string CatTask(std::uint32_t pid) {
    return "cat /proc/xsmem/task/" + std::to_string(pid);
}

}  // namespace

std::string MbufProcessCommand(std::uint32_t pid) {
    return "ps -p " + std::to_string(pid) + " -o comm=";
}

std::string MbufGroupCountCommand(std::uint32_t pid) {
    return CatTask(pid) + "/summary | grep cnt |awk '{print$6}'";
}

// The shell takes the unquoted pattern for that of file names first, and leaves it alone as long as
// the working directory has none that begins with a digit and ends in the parenthesis.
std::string MbufGroupsCommand(std::uint32_t pid) {
    return CatTask(pid) + "/summary | awk '{print$1}'|grep  [0-9]*\\(";
}

std::string JoinMbufGroups(const std::vector<std::string>& words, int count) {
    std::string names;
    for (std::size_t i = 0; i < words.size() && static_cast<long>(i) < count; ++i) {
        std::string_view name = words[i];
        name.remove_suffix(name.empty() ? 0 : 1);
        name.remove_prefix(name.size() < kNumberSize ? name.size() : kNumberSize);
        names.append(name).append(",");
    }
    return names;
}

}  // namespace zarn
