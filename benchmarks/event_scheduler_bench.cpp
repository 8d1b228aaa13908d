#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "benchmarks/support/promise.h"
#include "board/model/event_scheduler.h"
#include "board/server/event_texts.h"
#include "board/setup/scenario_parser.h"
#include "board/state/observation.h"

// What the model of the AI CPUs' events costs the board's server, which runs beside what is
// measured.
namespace zarn::bench {
namespace {

constexpr std::uint64_t kSecondUs = 1000000;

// The board whose scheduler has 2000 events in a second and, the AI block being throttled, waits.
const board::BoardState& Board() {
    static const auto state = [] {
        auto made = std::make_unique<board::BoardState>();
        std::ostringstream text;
        text << std::ifstream(ZARN_SOURCE_DIR "/board/scenarios/device_trouble.json").rdbuf();
        if (board::ParseScenario(text.str(), *made)) {
            std::abort();
        }
        return made;
    }();
    return *state;
}

double ServedAt(std::uint64_t tickMs) {
    return board::ServedShare(Board(), board::Observe(Board(), tickMs), board::kAicDat);
}

// A second of the board, looked at in each tick.
void RunASecond(benchmark::State& state) {
    board::EventScheduler scheduler(Board().scenario.events, 1, 0);
    std::uint64_t nowUs = 0;
    for (auto _ : state) {
        for (const std::uint64_t end = nowUs + kSecondUs; nowUs < end;) {
            nowUs += board::kTickMs * 1000;
            scheduler.Advance(nowUs, ServedAt);
        }
    }
    state.counters["events"] = benchmark::Counter(static_cast<double>(scheduler.OfNode().published),
                                                  benchmark::Counter::kAvgIterations);
}
BENCHMARK(RunASecond)->Name("events/second_of_the_board");
// 5 % of a core.
const Promise kLeavesTheCore = AtMost("events/second_of_the_board", 50);

// The texts of all attributes, as a pass of a collector asks for them.
void MakeAllTexts(benchmark::State& state) {
    board::EventScheduler scheduler(Board().scenario.events, 1, 0);
    scheduler.Advance(10 * kSecondUs, ServedAt);
    const std::vector<pid_t> pids{1201, 1204, 1207};
    const std::vector<std::string> attributes = board::EventAttributes();
    for (auto _ : state) {
        for (const std::string& attribute : attributes) {
            std::string text = board::EventAttributeText(
                attribute, {scheduler, Board().scenario.programs, pids}, {0, 1204, 2, 12});
            benchmark::DoNotOptimize(text);
        }
    }
}
BENCHMARK(MakeAllTexts)->Name("events/texts_of_a_pass");
const Promise kAnswersAtOnce = AtMost("events/texts_of_a_pass", 2);

}  // namespace
}  // namespace zarn::bench
