#include "board/perf/record.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "board/perf/kernel_sampling.h"
#include "board/perf/machine_perf.h"
#include "board/perf/perf_call.h"
#include "board/perf/perf_status.h"
#include "board/perf/perf_variable.h"
#include "board/perf/processes.h"
#include "board/perf/recording.h"
#include "board/perf/sampling.h"
#include "board/perf/sched_sampling.h"
#include "board/perf/stat_text.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

// What the model samples, in the order of SampledEvent.
constexpr std::array<std::string_view, 3> kModelNames{"cycles", "cpu-clock", "cache-misses"};

// Samples by the processor's clock where the machine has no counter of cycles, under the counter's
// name: what reads the samples looks for it.
int RecordByMachine(const std::vector<std::string>& words, const PerfCall& call) {
    std::vector<std::string> command{"record"};
    const bool asksEvents = std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return StartsWith(word, "-e") || StartsWith(word, "--event");
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

bool HasModelFrequency(const PerfCall& call) {
    return call.frequency.value_or(kSamplesPerSecond) == kSamplesPerSecond;
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
    return WriteRecording(
        call, PerfDataBytes(ProcessesOf(images, target), samples, call.callChains, events),
        samples.size());
}

int RecordByModel(PerfCall call) {
    if (call.problem.empty() && !ModelEvents(call)) {
        call.problem = "the board samples cycles, cpu-clock and cache-misses alone";
    } else if (call.problem.empty() && !HasModelFrequency(call)) {
        call.problem = "the board samples programs 4000 times a second alone";
    }
    if (!call.problem.empty()) {
        return FailPerf("perf record: " + call.problem, kBadPerfCall);
    }
    BoardState* state = AttachBoard();
    if (state == nullptr) {
        return FailPerf("perf record: there is no board", kPerfFailed);
    }
    const auto programs = ProgramsOf(*state, call.pids);
    if (!programs) {
        return FailPerf("Couldn't create thread/CPU maps: No such process", kNoSuchProcess);
    }
    const ProgramImages images = ImagesFor(*state, call, *programs);
    const CpuTarget target = TargetOf(*state, call, *programs);
    const auto write = [&](const PerfCall& made, const SchedSpan& spanUs) {
        constexpr std::uint64_t kUsPerMs = 1000;
        return WriteSamples(*state, made, images, target,
                            {spanUs.fromUs / kUsPerMs, spanUs.toUs / kUsPerMs});
    };
    return RecordCommand(*state, call, "", write);
}

// Whether a call asks at a frequency of its own for what cores do, which the scheduler's model
// tells.
bool AsksSched(const BoardState* state, const PerfCall& call) {
    return state != nullptr && state->scenario.sched.cores > 0 && call.problem.empty() &&
           call.frequency && (call.allCores || call.cores) && call.pids.empty() &&
           call.events.empty();
}

int RecordByScheduler(const BoardState& state, const PerfCall& call) {
    if (const int status = CheckSchedCores(state, call); status != 0) {
        return status;
    }
    const auto write = [&state](const PerfCall& made, const SchedSpan& span) {
        const std::uint32_t frequency = *made.frequency;
        const std::vector<CycleSample> samples =
            SchedSamples(state, {made.cores.value_or(~0U), frequency, span});
        return WriteRecording(made,
                              PerfDataBytes(SchedSampledProcesses(state, BoardFolder()), samples,
                                            made.callChains, {SampledEvent::Cycles}, frequency),
                              samples.size());
    };
    return RecordCommand(state, call, "", write);
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
    const BoardState* state = AttachBoard();
    if (forced != "machine" && AsksSched(state, call)) {
        return RecordByScheduler(*state, call);
    }
    if (forced == "model") {
        return RecordByModel(call);
    }
    const bool isOurs =
        call.problem.empty() && HasModelFrequency(call) && forced != "machine" && !CanMachine(call);
    return isOurs ? RecordByModel(call) : RecordByMachine(words, call);
}

}  // namespace zarn::board
