#include "collectors/profiling/sys_call/sys_call_commands.h"

#include "foundation/commands.h"

namespace zarn {

std::string TraceCommand(const std::string& pid, const std::string& log, std::uint32_t duration) {
    return "timeout -k 1s " + std::to_string(duration) + "s strace -o " + log +
           " -tt -T -C -S time -U "
           "name,time-percent,time-total,avg-time,min-time,max-time,calls,errors -p " +
           pid;
}

std::string SummaryCommand(const std::string& log) {
    return "grep -e ^[a-z] " + log + " | grep -E -v 'total|syscall'";
}

std::string DetailsCommand(const std::string& log, const std::string& name) {
    // The name is a word of the log, in which anything may stand; that of a system call is as it
    // was.
    return "grep ^[0-9] " + log + " | grep " + EscapeShellArgument(name) +
           " | awk '{print $1, $NF}'";
}

}  // namespace zarn
