#include "collectors/profiling/hot_fun/hot_fun_commands.h"

namespace zarn {

std::string RecordCommand(const RecordTarget& target, const std::string& recording,
                          const std::string& script, std::uint32_t duration) {
    return "perf record " + (target.option + target.value) + " -o " + recording + " -g -- sleep " +
           std::to_string(duration) + " && perf script -i " + recording + " >> " + script;
}

std::string ReportCommand(const std::string& glob, const std::string& report) {
    return "perf report -i " + glob + " --max-stack 1 >> " + report;
}

}  // namespace zarn
