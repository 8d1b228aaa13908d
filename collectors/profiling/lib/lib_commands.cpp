#include "collectors/profiling/lib/lib_commands.h"

#include "formats/lib.h"

namespace zarn {

std::string LibRecordCommand(const std::string& pid, const std::string& path,
                             std::uint32_t duration) {
    const std::string recording = path + lib_files::kRecordingSuffix;
    return "perf record -g -e cpu-clock,cache-misses -p " + pid + " -o " + recording +
           " -- sleep " + std::to_string(duration) + " && perf script -i " + recording + " >> " +
           path + lib_files::kTextSuffix;
}

}  // namespace zarn
