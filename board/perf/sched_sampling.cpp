#include "board/perf/sched_sampling.h"

#include <cstdlib>
#include <string_view>

#include "board/model/demand.h"
#include "board/server/function_files.h"
#include "board/state/cpu_observation.h"
#include "board/state/sched_tasks.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kStackStream = 21;
constexpr std::uint64_t kPlaceStream = 22;
constexpr std::uint64_t kUsPerSecond = 1000000;
constexpr std::uint64_t kNsPerUs = 1000;
// Where the functions' files are said to be mapped.
constexpr std::uint64_t kMapped = 0x400000;
constexpr std::uint64_t kMappedSize = kFirstFunction + kMaxFunctions * kFunctionSize;

// The stack in which a task is at a moment; nullptr for one without any.
const TaskStack* StackAt(const BoardState& state, std::uint32_t task, std::uint64_t timeUs) {
    const SchedTask& plan = state.scenario.sched.tasks[task];
    double sum = 0.0;
    for (std::uint32_t i = 0; i < plan.stackCount; ++i) {
        sum += plan.stacks[i].share;
    }
    const double drawn = (1.0 + SwingOf(state.seed, kStackStream, task, timeUs)) / 2 * sum;
    const TaskStack* stack = nullptr;
    double left = drawn;
    for (std::uint32_t i = 0; i < plan.stackCount; ++i) {
        if (plan.stacks[i].share > 0.0) {
            stack = &plan.stacks[i];
            if (left < stack->share) {
                break;
            }
            left -= stack->share;
        }
    }
    return stack;
}

// An address within a function; `draw` is random.
std::uint64_t AddressIn(std::uint32_t function, std::uint64_t draw) {
    constexpr std::uint64_t kInstruction = 4;
    const std::uint64_t place = 1 + draw % (kFunctionSize / kInstruction - 1);
    return kMapped + kFirstFunction + function * kFunctionSize + place * kInstruction;
}

CycleSample SampleOf(const BoardState& state, std::uint32_t task, std::uint64_t timeUs) {
    CycleSample sample;
    sample.timeNs = UptimeUs(state, timeUs) * kNsPerUs;
    sample.pid = SchedPid(state, task);
    sample.tid = SchedTid(state, task);
    const TaskStack* stack = StackAt(state, task, timeUs);
    const std::uint32_t depth = stack == nullptr ? 1 : stack->callCount;
    for (std::uint32_t i = depth; i > 0; --i) {
        // Who calls is left at one place of its own, who is called last is anywhere.
        const std::uint64_t draw = i == depth ? HashOf(state.seed, kPlaceStream, task, timeUs) : i;
        sample.chain.push_back(AddressIn(stack == nullptr ? 0 : stack->calls[i - 1], draw));
    }
    return sample;
}

// The first moment of the sampling from `timeUs` on, as a number.
std::uint64_t MomentFrom(std::uint64_t timeUs, std::uint32_t frequency) {
    return (timeUs * frequency + kUsPerSecond - 1) / kUsPerSecond;
}

}  // namespace

std::vector<CycleSample> SchedSamples(const BoardState& state, const SchedSampling& sampling) {
    const SchedPlan& plan = state.scenario.sched;
    SchedSimulation simulation(plan, state.seed);
    std::vector<CycleSample> samples;
    for (std::uint64_t moment = MomentFrom(sampling.span.fromUs, sampling.frequency);; ++moment) {
        const std::uint64_t timeUs = moment * kUsPerSecond / sampling.frequency;
        if (timeUs >= sampling.span.toUs) {
            return samples;
        }
        simulation.Advance(timeUs, nullptr);
        for (std::uint32_t core = 0; core < plan.cores; ++core) {
            const std::uint32_t task = simulation.RunningOn(core);
            if ((sampling.cores & (1U << core)) != 0 && task != SchedEvent::kIdleTask) {
                CycleSample sample = SampleOf(state, task, timeUs);
                sample.core = core;
                sample.cycles = static_cast<std::uint64_t>(kCpuHz) / sampling.frequency;
                samples.push_back(std::move(sample));
            }
        }
    }
}

std::vector<SampledProcess> SchedSampledProcesses(const BoardState& state,
                                                  const std::string& folder) {
    const SchedPlan& plan = state.scenario.sched;
    std::vector<SampledProcess> processes;
    for (std::uint32_t task = 0; task < plan.taskCount; ++task) {
        const SchedProcess& process = plan.processes[plan.tasks[task].process];
        SampledProcess sampled;
        sampled.pid = SchedPid(state, task);
        sampled.name = plan.tasks[task].name.data();
        if (task == process.firstTask) {
            sampled.path = FunctionFilePath(folder, process);
            sampled.start = kMapped;
            sampled.size = kMappedSize;
        } else {
            sampled.tid = SchedTid(state, task);
        }
        processes.push_back(sampled);
    }
    return processes;
}

std::string BoardFolder() {
    const char* state = std::getenv(kStateVariable);
    const std::string_view path = state == nullptr ? "" : state;
    return std::string(path.substr(0, path.rfind('/')));
}

}  // namespace zarn::board
