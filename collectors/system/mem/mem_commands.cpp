#include "collectors/system/mem/mem_commands.h"

#include "foundation/commands.h"

namespace zarn {
namespace {

constexpr const char* kSumOfSmaps = "/smaps | awk '{total+=$2}; END {print total}'";

// A pid that is no number means nothing to the shell.
std::string Quoted(const std::string& pid) {
    return EscapeShellArgument(pid);
}

}  // namespace

std::string FreeSumCommand(int column) {
    return "free -k | awk '{used+=$" + std::to_string(column) + "}; END {print used}'";
}

std::string CommandNameCommand(const std::string& pid) {
    return "grep Name -s /proc/" + Quoted(pid) + "/status | awk '{print $2}'";
}

std::array<std::string, 4> SmapsSumCommands(const std::string& pid) {
    const std::string rest = Quoted(pid) + kSumOfSmaps;
    return {"grep AnonHugePages -s /proc/" + rest, "grep Rss -s /proc/" + rest,
            "grep Pss -s /proc/" + rest,
            "grep  -e Private_Clean -e Private_Dirty -s /proc/" + rest};
}

std::string SharePoolAllocCommand(const std::string& pid) {
    return "grep " + Quoted(pid) + " -s /proc/" + Quoted(pid) + "/sp_group |  awk '{print $3}'";
}

std::string StatusWordsCommand(const std::string& pid) {
    return "grep -e Name -e FDSize -e VmSize -e VmData -e VmStk -e VmExe -e VmLib -e VmPTE -e "
           "Threads -s /proc/" +
           Quoted(pid) + "/status | awk '{print $2}'";
}

std::string SmapsCommand(const std::string& pid) {
    return "cat /proc/" + Quoted(pid) + "/smaps 2>/dev/null";
}

}  // namespace zarn
