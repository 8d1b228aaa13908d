#include "analyzers/sched/sched_commands.h"

#include "kit/shell_words.h"

namespace zarn {
namespace {

std::string Grep(const std::string& pattern) {
    return " | grep " + PatternWord(pattern, ShellWord(pattern));
}

std::string AppendTo(const std::string& path) {
    return " >> " + ShellPath(path);
}

}  // namespace

std::string TaskLogCommand(const SchedPaths& paths, const std::string& key) {
    return "perf sched latency -i " + ShellPath(paths.from) + " --pids" + Grep(key) +
           AppendTo(paths.to);
}

std::string ThreadLogCommand(const SchedPaths& paths, const std::string& name,
                             const std::string& tid) {
    return "cat " + ShellPath(paths.from) + Grep(name) + Grep(tid) + AppendTo(paths.to);
}

std::string ScriptLogCommand(const SchedPaths& paths, const std::string& time,
                             const std::string& cpu) {
    return "perf sched script -i " + ShellPath(paths.from) + Grep(time) + " -B 200" + Grep(cpu) +
           AppendTo(paths.to);
}

std::string TaskKey(const std::string& task) {
    return task.find('(') == std::string::npos ? task : task.substr(0, task.rfind(':'));
}

}  // namespace zarn
