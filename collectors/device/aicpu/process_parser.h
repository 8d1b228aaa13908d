#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/aicpu.h"

// Looking up of processes in what the scheduler's attributes say, line by line; the lines are
// without blanks at both ends.
namespace zarn {

// A number looked up in a table.
struct Lookup {
    enum class Verdict { Found, NotFound, Fault };  // Fault: beyond 32 bits, `reason` says so

    Verdict verdict = Verdict::NotFound;
    std::uint32_t value = 0;
    std::string reason;
};

// The pid of the first line of `proc_list`, "pid,name,number,number,number", whose name matches, a
// regular expression. A name that is no expression, or has a back-reference, matches nothing, nor
// does a line of more than 4096 bytes.
[[nodiscard]] Lookup FindPid(const std::vector<std::string>& procList, const std::string& name);

// The group id of the first line of `cpu_thread_info`, "core,pid,group,more", of that process on
// that core.
[[nodiscard]] Lookup FindGroup(const std::vector<std::string>& threadInfo,
                               const AicpuProcess& process);

}  // namespace zarn
