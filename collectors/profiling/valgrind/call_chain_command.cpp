#include "collectors/profiling/valgrind/call_chain_command.h"

#include "formats/valgrind.h"

namespace zarn {

std::string CallChainCommand(const std::string& pid, const std::string& stem,
                             std::uint32_t duration) {
    const std::string recording = stem + valgrind_files::kRecordingSuffix;
    return "perf record -a --call-graph fp -p " + pid + " -o " + recording + " -- sleep " +
           std::to_string(duration) + " && perf script -i " + recording + " >> " + stem +
           valgrind_files::kSamplesSuffix;
}

}  // namespace zarn
