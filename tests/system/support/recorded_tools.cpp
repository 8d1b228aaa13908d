#include "tests/system/support/recorded_tools.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "tests/support/topdown_lines.h"

namespace zarn::test {
namespace {

// A `perf` that counts and measures as "recorded-bench" and does all else as "recorded-profile".
void AddSteppedPerf(Sandbox& sandbox) {
    sandbox.Tool("perf-step", "");
    sandbox.Tool("perf",
                 "perf-step \"$@\" || exit\n"
                 "case $1 in\n"
                 "    bench | stat) exec recorded-bench \"$@\" ;;\n"
                 "    *) exec recorded-profile \"$@\" ;;\n"
                 "esac\n");
}

}  // namespace

void AddRecordedCpuTools(Sandbox& sandbox) {
    sandbox.ToolPrinting("recorded-top", ReadText(DataPath("top-4.0.2/plain.txt")));
    sandbox.ToolPrinting("recorded-cores",
                         ReadText(DataPath("top-4.0.2/two_cores_unfiltered.txt")));
    sandbox.ToolPrinting("recorded-threads", ReadText(DataPath("top-4.0.2/threads.txt")));
    sandbox.ToolPrinting("recorded-ps", ReadText(DataPath("ps-4.0.2/processes.txt")));
    sandbox.ToolPrinting("recorded-ps-threads", ReadText(DataPath("ps-4.0.2/threads_of_14.txt")));
    sandbox.Tool("top",
                 "case \" $* \" in\n"
                 "    ' -H -n 1 -b ') exec named-threads ;;\n"
                 "    *' -1 '*) exec recorded-cores ;;\n"
                 "    *' -H '*) exec recorded-threads ;;\n"
                 "esac\n"
                 "exec recorded-top\n");
    sandbox.Tool("ps",
                 "case \" $* \" in\n"
                 "    *' -L '*) exec recorded-ps-threads ;;\n"
                 "    ' -l -T '*) exec thread-priorities ;;\n"
                 "    ' -T -p '*) exec thread-list ;;\n"
                 "    ' -l '*) exec process-priority ;;\n"
                 "esac\n"
                 "exec recorded-ps\n");
}

void AddSchedTools(Sandbox& sandbox) {
    sandbox.ToolPrinting("process-priority",
                         "F S   UID   PID  PPID  C PRI  NI ADDR SZ WCHAN  TTY        TIME CMD\n"
                         "4 S     0   417     1  0  80   0 -  1365 poll_s ?          0:00 f\n");
    sandbox.ToolPrinting("thread-priorities",
                         "F S   UID   PID  SPID  PPID  C PRI  NI ADDR SZ WCHAN  TTY   TIME CMD\n"
                         "4 S     0   417   417     1  0  80   0 -  1365 poll_s ?     0:00 f\n");
    sandbox.ToolPrinting("thread-list",
                         "  PID  SPID TTY          TIME CMD\n"
                         "  417   417 ?        00:00:00 frame_worker\n");
    sandbox.ToolPrinting("named-threads",
                         "  417 root      20   0    1000    100     10 S   0.0   0.1   0:00.01 "
                         "frame_worker\n");
    sandbox.Tool("taskset", "echo \"pid $2's current affinity list: 0,1\"\n");
    sandbox.Tool("chrt", "echo \"pid $2's current scheduling policy: SCHED_OTHER\"\n");
    for (const char* name : {"latency", "latency_pids", "script", "timehist"}) {
        sandbox.ToolPrinting(
            std::string("recorded-sched-") + name,
            ReadText(DataPath(std::string("perf-6.1.187/sched_") + name + ".log")));
    }
    sandbox.Tool("recorded-sched",
                 "case \" $* \" in\n"
                 "    ' sched record '*) echo recording > \"$4\" ;;\n"
                 "    *' --pids ') exec recorded-sched-latency_pids ;;\n"
                 "    ' sched latency '*) exec recorded-sched-latency ;;\n"
                 "    ' sched script '*) exec recorded-sched-script ;;\n"
                 "    ' sched timehist '*) exec recorded-sched-timehist ;;\n"
                 "esac\n");
}

void AddRecordedPerf(Sandbox& sandbox) {
    sandbox.ToolPrinting("recorded-counters", MemoryBoundCounterFile());
    sandbox.Tool("perf",
                 "[ \"$1\" != sched ] || exec recorded-sched \"$@\"\n"
                 "while [ \"$1\" != -o ]; do shift; done\n"
                 "exec recorded-counters > \"$2\"\n");
    sandbox.Tool("pidof",
                 "[ \"$1\" = frame_worker ] || exec /bin/pidof \"$@\"\n"
                 "echo 417\n");
}

void AddRecordedProfiler(Sandbox& sandbox) {
    for (const char* name : {"report", "script", "diff_two", "diff_three"}) {
        sandbox.ToolPrinting(
            std::string("recorded-") + name,
            ReadText(DataPath(std::string("perf-6.1.187-profile/") + name + ".txt")));
    }
    AddSteppedPerf(sandbox);
    sandbox.Tool("recorded-profile",
                 "case $1 in\n"
                 "    record)\n"
                 "        while [ \"$1\" != -o ]; do shift; done\n"
                 "        echo recording > \"$2\" ;;\n"
                 "    script) exec recorded-script ;;\n"
                 "    report) exec recorded-report ;;\n"
                 "    diff)\n"
                 "        [ $# -le 3 ] && exec recorded-diff_two\n"
                 "        exec recorded-diff_three ;;\n"
                 "esac\n");
    sandbox.Tool("pidof",
                 "[ \"$1\" = planner_node ] || exec /bin/pidof \"$@\"\n"
                 "echo 417\n");
}

void MakeRecordingEndless(Sandbox& sandbox) {
    sandbox.Tool("perf-step",
                 "case $1 in record)\n"
                 "    sandbox-event interrupt\n"
                 "    trap 'exit 130' INT\n"
                 "    kill -INT $$\n"
                 "    while :; do :; done ;;\n"
                 "esac\n");
}

void AddFakeValgrind(Sandbox& sandbox) {
    sandbox.Tool("valgrind-step", "");
    sandbox.Tool("valgrind",
                 "valgrind-step \"$@\" || exit\n"
                 "while [ \"${1#--}\" != \"$1\" ]; do\n"
                 "    case $1 in --*-out-file=*) report=${1#*=} ;; esac\n"
                 "    shift\n"
                 "done\n"
                 "\"$@\" && echo report > \"$report\"\n");
    sandbox.Tool("pidof", "[ \"$1\" = planner_node ] && echo 417\n");
}

void AddRecordedTracer(Sandbox& sandbox) {
    sandbox.ToolPrinting("recorded-trace", ReadText(DataPath("strace-6.1/batch.log")));
    sandbox.Tool("strace-step", "");
    sandbox.Tool("strace",
                 "strace-step \"$@\" || exit\n"
                 "while [ \"$1\" != -o ]; do shift; done\n"
                 "exec recorded-trace > \"$2\"\n");
    sandbox.Tool("pidof",
                 "[ \"$1\" = planner_node ] || exec /bin/pidof \"$@\"\n"
                 "echo 417\n");
}

void AddRecordedBench(Sandbox& sandbox) {
    for (const char* name : {"sched_messaging", "sched_pipe", "mem_memset", "mem_memcpy",
                             "stat_global", "stat_process", "stat_no_process"}) {
        sandbox.ToolPrinting(
            std::string("recorded-") + name,
            ReadText(DataPath(std::string("perf-6.1.187-bench/") + name + ".txt")));
    }
    AddSteppedPerf(sandbox);
    sandbox.Tool("recorded-bench",
                 "[ $1 = stat ] || exec recorded-$2_$3\n"
                 "case \"$*\" in\n"
                 "    *'-p sleep'*) recorded-stat_no_process >&2; exit 234 ;;\n"
                 "    *-p*) exec recorded-stat_process >&2 ;;\n"
                 "esac\n"
                 "exec recorded-stat_global >&2\n");
    sandbox.Tool("pidof",
                 "case $1 in planner_node) echo 417 418 ;; zarn) echo 14 ;; *) exit 1 ;; esac\n");
}

std::string ErrorsOfMissions(const RunResult& run) {
    static const std::array<std::string, 6> kWorkspace{
        "[ZarnManager] Create env info directory", "[ZarnManager] Create raw data directory",
        "[ZarnManager] Create json directory", "[ZarnManager] Create csv directory",
        "[ZarnManager] The env file /etc/",
        // To others than root the machine does not show it.
        "cat: /proc/slabinfo: Permission denied"};
    std::istringstream lines(run.err);
    std::string errors;
    for (std::string line; std::getline(lines, line);) {
        const bool isWorkspace =
            std::any_of(kWorkspace.begin(), kWorkspace.end(),
                        [&line](const std::string& head) { return line.rfind(head, 0) == 0; });
        if (!isWorkspace) {
            errors += line + "\n";
        }
    }
    return errors;
}

}  // namespace zarn::test
