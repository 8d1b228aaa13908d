#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ara/rm/tepa_resource.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "board/state/board_state.h"
#include "kes_buffer.h"
#include "tovi_device.h"

// What a call of the simulated device libraries costs: it must not show in a measurement.
namespace zarn::bench {
namespace {

// A board on which all masters ask for memory, with a fault plan that matches nothing: the long way
// through each call.
void EnterBoard() {
    static const ScratchDir scratch;
    static const bool made = [] {
        const auto state = std::make_unique<board::BoardState>();
        board::ResetSettings(*state);
        for (board::MasterDemand& demand : state->scenario.demands) {
            demand = {7000.0, 0.1, 2, {{{3000, 1.0}, {2000, 1.5}}}, 5000, 400, 3000.0};
        }
        state->scenario.load = {50.0, 50.0, 50.0, 50.0};
        state->scenario.aiCoreCount = 32;
        state->scenario.buffers.ownerCount = 1;
        state->scenario.buffers.owners[0].everyUs = 1;
        state->scenario.buffers.owners[0].stuckOneOf = 1;
        state->scenario.buffers.owners[0].most = 16;
        state->faults.count = board::kMaxFaults;
        for (board::FaultRule& rule : state->faults.rules) {
            rule.device = 9;
        }
        const std::string path = scratch.Path() + "state";
        const bool created = board::CreateBoardState(path.c_str(), *state);
        ::setenv(board::kStateVariable, path.c_str(), 1);
        return created;
    }();
    if (!made || board::AttachBoard() == nullptr) {
        std::abort();
    }
}

// Calls until the benchmark has enough; a call that fails is no measurement.
template <typename Call>
void Measure(benchmark::State& state, const Call& call) {
    EnterBoard();
    for (auto _ : state) {
        if (call() != 0) {
            state.SkipWithError("the call failed");
            break;
        }
    }
}

// What a call may take that does little, in milliseconds.
constexpr double kAtOnce = 0.02;

void GetDeviceCount(benchmark::State& state) {
    int count = 0;
    Measure(state, [&] { return tovi_get_device_count(&count); });
}
BENCHMARK(GetDeviceCount)->Name("call/device_count");
const Promise kCountsAtOnce = AtMost("call/device_count", kAtOnce);

void GetPartition(benchmark::State& state) {
    std::array<unsigned, 12> record{};
    unsigned size = 48;
    Measure(state, [&] {
        record = {5};
        return tovi_get_device_info(0, 13, 5U << 8U, record.data(), &size);
    });
}
BENCHMARK(GetPartition)->Name("call/get_partition");
const Promise kGetsAtOnce = AtMost("call/get_partition", kAtOnce);

void SetPartition(benchmark::State& state) {
    const std::array<unsigned, 12> record{5, 40, 2, 1};
    Measure(state, [&] { return tovi_set_device_info(0, 13, 0, record.data(), 48); });
}
BENCHMARK(SetPartition)->Name("call/set_partition");
const Promise kSetsAtOnce = AtMost("call/set_partition", kAtOnce);

void GetAiUsage(benchmark::State& state) {
    std::array<unsigned char, 32> usage{};
    Measure(state, [&] {
        unsigned size = 32;
        return tovi_get_device_info(0, 11, 0, usage.data(), &size);
    });
}
BENCHMARK(GetAiUsage)->Name("call/ai_usage_32_cores");
const Promise kReadsAiAtOnce = AtMost("call/ai_usage_32_cores", kAtOnce);

void GetImageUsage(benchmark::State& state) {
    unsigned value = 0;
    unsigned size = 4;
    Measure(state, [&] { return tovi_get_device_info(0, 0, 2, &value, &size); });
}
BENCHMARK(GetImageUsage)->Name("call/image_usage");
const Promise kReadsImageAtOnce = AtMost("call/image_usage", kAtOnce);

void GetBuffers(benchmark::State& state) {
    std::array<unsigned, 4> setting{1, 8192, 10000, 5000};
    std::vector<unsigned char> records(8192 * std::size_t{224});
    Measure(state, [&] {
        unsigned size = 8192 * 224;
        return kesBuffCfg(0, setting.data(), 16) +
               kesBuffGetInfo(0, nullptr, 0, records.data(), &size);
    });
}
BENCHMARK(GetBuffers)->Name("call/configure_and_read_buffers");

void Register(benchmark::State& state) {
    Measure(state, [] {
        return ara::rm::RegisterTepaResource() && ara::rm::UnRegisterTepaResource() ? 0 : 1;
    });
}
BENCHMARK(Register)->Name("call/register_and_unregister");
const Promise kRegistersAtOnce = AtMost("call/register_and_unregister", kAtOnce);

}  // namespace
}  // namespace zarn::bench
