#pragma once

#include <string>
#include <vector>

#include "collectors/profiling/sys_call/call_details.h"
#include "collectors/profiling/sys_call/trace_summary.h"

namespace zarn {

// What a trace told of one process.
struct SysCallRecord {
    std::string process;
    std::string pid;  // as `pidof` told it
    std::string log;
    std::vector<SummaryRow> rows;
    std::vector<CallDetails> details;  // of each row, if they were asked for; else none
};

}  // namespace zarn
