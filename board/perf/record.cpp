#include "board/perf/record.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "board/perf/kernel_sampling.h"
#include "board/perf/machine_perf.h"
#include "board/perf/measured_command.h"
#include "board/perf/perf_call.h"
#include "board/perf/perf_status.h"
#include "board/perf/perf_variable.h"
#include "board/perf/processes.h"
#include "board/perf/sampling.h"
#include "board/perf/stat_text.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"

namespace zarn::board {
namespace {

constexpr const char* kUsualOutput = "perf.data";
// What the model samples, in the order of SampledEvent.
constexpr std::array<std::string_view, 3> kModelNames{"cycles", "cpu-clock", "cache-misses"};
constexpr double kBytesPerMb = 1024.0 * 1024.0;

int Fail(const std::string& text, int status) {
    PrintError(text);
    return status;
}

// Samples by the processor's clock where the machine has no counter of cycles, under the counter's
// name: what reads the samples looks for it.
int RecordByMachine(const std::vector<std::string>& words, const PerfCall& call) {
    std::vector<std::string> command{"record"};
    const bool asksEvents = std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return word.rfind("-e", 0) == 0 || word.rfind("--event", 0) == 0;
    });
    if (!asksEvents && KernelSamplingOf(call) != KernelSampling::Counter) {
        command.insert(command.end(), {"-e", "cpu-clock/name=cycles/"});
    }
    command.insert(command.end(), words.begin(), words.end());
    return BecomeMachinePerf(command);
}

// The events of a call that the model samples, cycles where none is named; nothing if there is
// another one.
std::optional<std::vector<SampledEvent>> ModelEvents(const PerfCall& call) {
    std::vector<SampledEvent> events;
    for (const AskedEvent& asked : call.events) {
        const auto* const name = std::find(kModelNames.begin(), kModelNames.end(), asked.text);
        if (name == kModelNames.end()) {
            return std::nullopt;
        }
        const auto event = static_cast<SampledEvent>(name - kModelNames.begin());
        if (std::find(events.begin(), events.end(), event) == events.end()) {
            events.push_back(event);
        }
    }
    return events.empty() ? std::vector<SampledEvent>{SampledEvent::Cycles} : events;
}

// The processes of the programs that may be sampled: of these, or of all. One that cannot be looked
// into has no samples.
ProgramImages ImagesFor(const BoardState& state, const PerfCall& call, std::uint32_t programs) {
    ProgramImages images;
    for (std::size_t i = 0; i < state.scenario.programs.count; ++i) {
        const bool isAsked = call.pids.empty() || (programs & (1U << i)) != 0;
        const auto image =
            isAsked ? LoadImage(static_cast<std::uint32_t>(state.programPids[i])) : std::nullopt;
        if (image) {
            images.emplace(i, *image);
        }
    }
    return images;
}

// Writes what was sampled in that time, and says so as perf does.
int WriteSamples(BoardState& state, const PerfCall& call, const ProgramImages& images,
                 const CpuTarget& target, const BoardSpan& span) {
    std::vector<WorkPiece> work;
    {
        const BoardLock lock(state);
        work = WorkOf(state, target, span);
    }
    const std::vector<SampledEvent> events = *ModelEvents(call);
    std::vector<CycleSample> samples;
    for (const SampledEvent event : events) {
        const std::vector<CycleSample> added = SamplesOf(state, target, work, images, event);
        samples.insert(samples.end(), added.begin(), added.end());
    }
    std::stable_sort(
        samples.begin(), samples.end(),
        [](const CycleSample& a, const CycleSample& b) { return a.timeNs < b.timeNs; });
    const std::string bytes =
        PerfDataBytes(ProcessesOf(images, target), samples, call.callChains, events);
    if (WriteFile(call.output, bytes) != FileResult::Ok) {
        return Fail("failed to write " + call.output, kPerfFailed);
    }
    PrintError("[ perf record: Woken up 1 times to write data ]");
    const std::string end =
        samples.empty() ? " ]" : " (" + std::to_string(samples.size()) + " samples) ]";
    PrintError("[ perf record: Captured and wrote " +
               FloatToString(static_cast<double>(bytes.size()) / kBytesPerMb, 3) + " MB " +
               call.output + end);
    return 0;
}

int RecordByModel(PerfCall call) {
    if (call.problem.empty() && !ModelEvents(call)) {
        call.problem = "the board samples cycles, cpu-clock and cache-misses alone";
    }
    if (!call.problem.empty()) {
        return Fail("perf record: " + call.problem, kBadPerfCall);
    }
    BoardState* state = AttachBoard();
    if (state == nullptr) {
        return Fail("perf record: there is no board", kPerfFailed);
    }
    const auto programs = ProgramsOf(*state, call.pids);
    if (!programs) {
        return Fail("Couldn't create thread/CPU maps: No such process", kNoSuchProcess);
    }
    call.output = call.output.empty() ? kUsualOutput : call.output;
    if (WriteFile(call.output, "") != FileResult::Ok) {
        return Fail("failed to open " + call.output, kPerfFailed);
    }
    const ProgramImages images = ImagesFor(*state, call, *programs);
    const CpuTarget target = TargetOf(*state, call, *programs);
    auto command = MeasuredCommand::Start(call.command);
    if (!command) {
        return kPerfFailed;
    }
    BoardSpan span;
    span.fromMs = BoardTimeMs(*state);
    while (command->Wait(std::nullopt) == MeasuredCommand::Wake::Time) {
    }
    span.toMs = BoardTimeMs(*state);
    const int written = WriteSamples(*state, call, images, target, span);
    const int status = command->Finish();
    return written != 0 ? written : status;
}

// Whether the machine can sample what the call asks for.
bool CanMachine(const PerfCall& call) {
    const bool asksMisses = std::any_of(
        call.events.begin(), call.events.end(),
        [](const AskedEvent& event) { return event.standard == StandardEvent::CacheMisses; });
    // perf refuses the whole recording where it lacks one event.
    return !FindMachinePerf().empty() && KernelSamplingOf(call) != KernelSampling::None &&
           (!asksMisses || !ModelEvents(call) || CanSampleMisses(call));
}

}  // namespace

int RunRecord(const std::vector<std::string>& words) {
    const PerfCall call = ParseRecordCall(words);
    const char* variable = std::getenv(kPerfVariable);
    const std::string_view forced = variable == nullptr ? "" : variable;
    if (forced == "model") {
        return RecordByModel(call);
    }
    const bool isOurs = call.problem.empty() && forced != "machine" && !CanMachine(call);
    return isOurs ? RecordByModel(call) : RecordByMachine(words, call);
}

}  // namespace zarn::board
