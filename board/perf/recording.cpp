#include "board/perf/recording.h"

#include <optional>

#include "board/perf/measured_command.h"
#include "board/perf/perf_status.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"

namespace zarn::board {
namespace {

constexpr const char* kUsualOutput = "perf.data";
constexpr double kBytesPerMb = 1024.0 * 1024.0;
constexpr int kNoSuchCore = 237;

}  // namespace

int FailPerf(const std::string& text, int status) {
    PrintError(text);
    return status;
}

int CheckSchedCores(const BoardState& state, const PerfCall& call) {
    const bool isThere = (std::uint64_t{call.cores.value_or(0)} >> state.scenario.sched.cores) == 0;
    return isThere ? 0
                   : FailPerf("Failed to initialize parallel data streaming masks", kNoSuchCore);
}

int WriteRecording(const PerfCall& call, const std::string& bytes, std::size_t samples) {
    if (WriteFile(call.output, bytes) != FileResult::Ok) {
        return FailPerf("failed to write " + call.output, kPerfFailed);
    }
    PrintError("[ perf record: Woken up 1 times to write data ]");
    PrintError("[ perf record: Captured and wrote " +
               FloatToString(static_cast<double>(bytes.size()) / kBytesPerMb, 3) + " MB " +
               call.output +
               (samples == 0 ? " ]" : " (" + std::to_string(samples) + " samples) ]"));
    return 0;
}

int RecordCommand(const BoardState& state, PerfCall call, const char* ifNoFile,
                  const std::function<int(const PerfCall&, const SchedSpan&)>& write) {
    call.output = call.output.empty() ? kUsualOutput : call.output;
    if (WriteFile(call.output, "") != FileResult::Ok) {
        return FailPerf("failed to open " + call.output + ifNoFile, kPerfFailed);
    }
    // Before the command can have done anything: it may be over as soon as it was started.
    SchedSpan span;
    span.fromUs = BoardTimeUs(state);
    auto command = MeasuredCommand::Start(call.command);
    if (!command) {
        return kPerfFailed;
    }
    while (command->Wait(std::nullopt) == MeasuredCommand::Wake::Time) {
    }
    span.toUs = BoardTimeUs(state);
    const int written = write(call, span);
    const int status = command->Finish();
    return written != 0 ? written : status;
}

}  // namespace zarn::board
