#include "board/perf/sched.h"

#include <algorithm>

#include "board/perf/machine_perf.h"
#include "board/perf/perf_call.h"
#include "board/perf/perf_status.h"
#include "board/perf/processes.h"
#include "board/perf/recording.h"
#include "board/perf/sched_call.h"
#include "board/perf/sched_record.h"
#include "board/perf/sched_script.h"
#include "board/perf/sched_timehist.h"
#include "board/state/sched_tasks.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

constexpr int kNoSuchTask = 244;

bool IsThere(const BoardState& state, std::uint32_t pid) {
    for (std::uint32_t task = 0; task < state.scenario.sched.taskCount; ++task) {
        if (SchedPid(state, task) == pid) {
            return true;
        }
    }
    return ProcessName(pid).has_value();
}

// Whether processes and cores that the call names are there; a line and the status if not.
int CheckTarget(const BoardState& state, const PerfCall& call) {
    if (!call.pids.empty()) {
        PrintError("Warning:\nPID/TID switch overriding SYSTEM");
    }
    if (!std::all_of(call.pids.begin(), call.pids.end(),
                     [&](std::uint32_t pid) { return IsThere(state, pid); })) {
        return FailPerf("Couldn't create thread/CPU maps: No such process", kNoSuchTask);
    }
    return CheckSchedCores(state, call);
}

int RunSchedRecord(const BoardState& state, const std::vector<std::string>& words) {
    // All cores are what is recorded unless the call says less.
    std::vector<std::string> allWords{"-a"};
    allWords.insert(allWords.end(), words.begin(), words.end());
    PerfCall call = ParseRecordCall(allWords);
    if (call.problem.empty() && call.frequency) {
        call.problem = "the board does not know -F";
    }
    if (call.problem.empty() && !call.events.empty()) {
        call.problem = "the board records the scheduler's events alone";
    }
    if (!call.problem.empty()) {
        return FailPerf("perf sched record: " + call.problem, kBadPerfCall);
    }
    if (const int status = CheckTarget(state, call); status != 0) {
        return status;
    }
    const auto write = [&state](const PerfCall& made, const SchedSpan& span) {
        SchedRecord record = RecordSched(state, {made.pids, made.cores}, span);
        record.callChains = made.callChains;
        return WriteRecording(made, SchedRecordBytes(record), record.events.size());
    };
    return RecordCommand(state, call, "\nPerf session creation failed.", write);
}

void PrintText(std::string text) {
    if (!text.empty()) {
        text.pop_back();
        PrintLine(text);
    }
}

// A torn record has nothing to show.
int RunSchedReport(const SchedCall& call, const std::string& bytes) {
    const auto record = ReadSchedRecord(bytes);
    if (!record) {
        return 0;
    }
    switch (call.work) {
        case SchedWork::kLatency:
            PrintText(LatencyReport(*record, call.order));
            break;
        case SchedWork::kTimehist:
            if (!record->callChains) {
                PrintError("Samples do not have callchains.");
            }
            PrintText(TimehistTable(*record));
            break;
        default:
            PrintText(SchedScript(*record));
            break;
    }
    return 0;
}

int BecomeMachineSched(const std::vector<std::string>& words) {
    std::vector<std::string> all{"sched"};
    all.insert(all.end(), words.begin(), words.end());
    return BecomeMachinePerf(all);
}

}  // namespace

int RunSched(const std::vector<std::string>& words) {
    const SchedCall call = ParseSchedCall(words);
    if (call.work == SchedWork::kRecord) {
        const BoardState* state = AttachBoard();
        return state != nullptr && state->scenario.sched.cores > 0
                   ? RunSchedRecord(*state, call.recordWords)
                   : BecomeMachineSched(words);
    }
    std::string bytes;
    if (call.work == SchedWork::kOther || ReadFile(call.input, bytes) != FileResult::Ok ||
        !IsSchedRecord(bytes)) {
        return BecomeMachineSched(words);
    }
    return call.problem.empty() ? RunSchedReport(call, bytes)
                                : FailPerf("  Error: " + call.problem, kBadPerfCall);
}

}  // namespace zarn::board
