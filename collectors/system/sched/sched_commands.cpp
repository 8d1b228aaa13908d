#include "collectors/system/sched/sched_commands.h"

#include <limits>

#include "kit/shell_words.h"

namespace zarn {
namespace {

std::string Appended(const std::string& command, const std::string& log) {
    return command + " >> " + ShellPath(log);
}

std::string Nanoseconds(std::uint64_t milliseconds) {
    constexpr std::uint64_t kPerMillisecond = 1000000;
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    return std::to_string(milliseconds > kMost / kPerMillisecond ? kMost
                                                                 : milliseconds * kPerMillisecond);
}

}  // namespace

std::string PerfCommand(const SchedJobParam& param, const std::string& target,
                        const PerfFiles& files) {
    const std::string record = ShellPath(files.record);
    const std::string recording = "perf sched record -o " + record + " " +
                                  (param.isCallRecord ? "-g " : "") + target + "-- sleep " +
                                  std::to_string(param.duration);
    const std::string latency = "perf sched latency -i " + record + " --sort " + param.sorted;
    return recording + " && " + Appended(latency, files.latency) + " && " +
           Appended("perf sched timehist -i " + record, files.timehist);
}

std::string CoreOption(std::uint32_t core) {
    return "-C " + std::to_string(core) + " ";
}

std::string ProcessOption(std::int32_t pid) {
    return "-p " + std::to_string(pid) + " ";
}

std::string ProcessPriorityCommand(const std::string& pid, const std::string& log) {
    return Appended("ps -l " + pid, log);
}

std::string ThreadListCommand(const std::string& pid, const std::string& log) {
    return Appended("ps -T -p " + pid, log);
}

std::string ThreadPriorityCommand(const std::string& pid, const std::string& log) {
    return Appended("ps -l -T " + pid, log);
}

std::string AffinityCommand(const std::string& id, const std::string& log) {
    return Appended("taskset -pc " + id, log);
}

std::string PolicyCommand(const std::string& id, const std::string& log) {
    return Appended("chrt -p " + id, log);
}

std::string NamedThreadCommand(const std::string& name, const std::string& log) {
    return Appended("top -H -n 1 -b | grep " + PatternWord(name, QuotedWord(name)), log);
}

std::string LiteStartCommand(std::uint64_t thresholdMs, const LiteFiles& files) {
    return "echo 0 > /proc/perf/sched_ctrl && echo 100,1000 > /proc/perf/sched_record_size && "
           "echo " +
           Nanoseconds(thresholdMs) +
           " > /proc/perf/sched_threshold && echo 0xf > /proc/perf/sched_ctrl && "
           "cat /proc/perf/sched_log > " +
           ShellPath(files.log) + " && cat /proc/perf/sched_table > " + ShellPath(files.table) +
           " && cat /proc/perf/sched_stacks > " + ShellPath(files.stacks);
}

}  // namespace zarn
