// zarn-board-optimum: the best CPU frame rate that DDR bounds can reach in the stress benchmark of
// a virtual board, over the whole space of bounds, with the AI, image and camera limits kept. Exit
// status: 0, 1 if the work fails, 2 for a wrong call.

#include <memory>
#include <string>
#include <vector>

#include "board/bench/bench_settings.h"
#include "board/bench/best_bounds.h"
#include "board/setup/scenario_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr const char* kUsage =
    "usage: zarn-board-optimum SCENARIO SEED CONFIG [STEP]\n"
    "  SCENARIO  a scenario's file\n"
    "  SEED      the board's seed\n"
    "  CONFIG    the stress benchmark's Config.yaml\n"
    "  STEP      GB/s between two bounds that are tried (default: 1; the search itself takes 2)";

bool Load(const std::vector<std::string>& arguments, BoardState& state, BenchSettings& settings) {
    std::string text;
    if (ReadFile(arguments[0], text) != FileResult::Ok) {
        return PrintFailure("zarn-board-optimum: cannot read " + arguments[0]);
    }
    if (const auto reason = ParseScenario(text, state)) {
        return PrintFailure("zarn-board-optimum: " + arguments[0] + ": " + *reason);
    }
    if (!IsDigitString(arguments[1]) || !StringToUint64(arguments[1], state.seed)) {
        return PrintFailure("zarn-board-optimum: the seed must be a whole number: " + arguments[1]);
    }
    if (ReadFile(arguments[2], text) != FileResult::Ok) {
        return PrintFailure("zarn-board-optimum: cannot read " + arguments[2]);
    }
    if (const auto reason = ParseBenchSettings(text, settings)) {
        return PrintFailure("zarn-board-optimum: " + arguments[2] + ": " + *reason);
    }
    return true;
}

std::string Describe(const RunRates& rates) {
    return "cpu " + std::to_string(rates.mean[kCpuStress]) + ", aic " +
           std::to_string(rates.mean[kAicStress]) + ", imgp " +
           std::to_string(rates.mean[kVpcStress]) + " fps, camera at least " +
           std::to_string(rates.leastCamera) + " fps";
}

int Main(const std::vector<std::string>& arguments, std::uint32_t step) {
    const auto state = std::make_unique<BoardState>();
    BenchSettings settings;
    if (!Load(arguments, *state, settings)) {
        return 1;
    }
    PrintLine("untouched: " + Describe(RatesOfRun(*state, settings)));
    const BestBounds best = FindBestBounds(*state, settings, BenchLimits{}, step);
    PrintLine("tried: " + std::to_string(best.tried) + " settings");
    if (!best.found) {
        PrintLine("optimum: none keeps the limits");
        return 0;
    }
    PrintLine("optimum: " + Describe(best.rates));
    for (std::size_t i = 0; i < kSearchedCount; ++i) {
        const BusMaster& master = kMasters[kSearched[i]];
        PrintLine("  " + std::string(master.name) + ": bw_low " +
                  std::to_string(best.bounds.low[i]) + ", bw_high " +
                  std::to_string(best.bounds.high[i]));
    }
    return 0;
}

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    std::uint32_t step = 1;
    const bool isStep = arguments.size() == 4 && zarn::IsDigitString(arguments[3]) &&
                        zarn::StringToUint32(arguments[3], step) && step > 0 && step <= 51;
    if (arguments.size() != 3 && !isStep) {
        zarn::PrintError(zarn::board::kUsage);
        return 2;
    }
    return zarn::board::Main(arguments, step);
}
