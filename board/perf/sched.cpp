#include "board/perf/sched.h"

#include <algorithm>

#include "board/perf/machine_perf.h"
#include "board/perf/measured_command.h"
#include "board/perf/perf_call.h"
#include "board/perf/perf_status.h"
#include "board/perf/processes.h"
#include "board/perf/sched_call.h"
#include "board/perf/sched_record.h"
#include "board/perf/sched_script.h"
#include "board/perf/sched_timehist.h"
#include "board/perf/stat_text.h"
#include "board/state/sched_tasks.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"

namespace zarn::board {
namespace {

constexpr const char* kUsualOutput = "perf.data";
constexpr double kBytesPerMb = 1024.0 * 1024.0;
constexpr int kNoSuchTask = 244;
constexpr int kNoSuchCore = 237;

int Fail(const std::string& text, int status) {
    PrintError(text);
    return status;
}

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
        return Fail("Couldn't create thread/CPU maps: No such process", kNoSuchTask);
    }
    if ((std::uint64_t{call.cores.value_or(0)} >> state.scenario.sched.cores) != 0) {
        return Fail("Failed to initialize parallel data streaming masks", kNoSuchCore);
    }
    return 0;
}

int WriteRecord(const BoardState& state, const PerfCall& call, const SchedSpan& span) {
    SchedRecord record = RecordSched(state, {call.pids, call.cores}, span);
    record.callChains = call.callChains;
    const std::string bytes = SchedRecordBytes(record);
    if (WriteFile(call.output, bytes) != FileResult::Ok) {
        return Fail("failed to write " + call.output, kPerfFailed);
    }
    PrintError("[ perf record: Woken up 1 times to write data ]");
    const std::string samples =
        record.events.empty() ? "" : " (" + std::to_string(record.events.size()) + " samples)";
    PrintError("[ perf record: Captured and wrote " +
               FloatToString(static_cast<double>(bytes.size()) / kBytesPerMb, 3) + " MB " +
               call.output + samples + " ]");
    return 0;
}

int RunSchedRecord(const BoardState& state, const std::vector<std::string>& words) {
    // All cores are what is recorded unless the call says less.
    std::vector<std::string> allWords{"-a"};
    allWords.insert(allWords.end(), words.begin(), words.end());
    PerfCall call = ParseRecordCall(allWords);
    if (call.problem.empty() && !call.events.empty()) {
        call.problem = "the board records the scheduler's events alone";
    }
    if (!call.problem.empty()) {
        return Fail("perf sched record: " + call.problem, kBadPerfCall);
    }
    if (const int status = CheckTarget(state, call); status != 0) {
        return status;
    }
    call.output = call.output.empty() ? kUsualOutput : call.output;
    if (WriteFile(call.output, "") != FileResult::Ok) {
        return Fail("failed to open " + call.output + "\nPerf session creation failed.",
                    kPerfFailed);
    }
    auto command = MeasuredCommand::Start(call.command);
    if (!command) {
        return kPerfFailed;
    }
    SchedSpan span;
    span.fromUs = BoardTimeUs(state);
    while (command->Wait(std::nullopt) == MeasuredCommand::Wake::Time) {
    }
    span.toUs = BoardTimeUs(state);
    const int written = WriteRecord(state, call, span);
    const int status = command->Finish();
    return written != 0 ? written : status;
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
                                : Fail("  Error: " + call.problem, kBadPerfCall);
}

}  // namespace zarn::board
