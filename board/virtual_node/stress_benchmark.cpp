// stress_benchmark CONFIG: the stress benchmark of the virtual board. Prints four head lines and
// then a result line per period: the frame rates that the board's memory model gives under the
// bounds set now. Its settings are in CONFIG (Config.yaml beside it). Exit status: 0, 1 if it
// cannot run or is told to fail, 2 for a wrong call.

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "board/bench/bench_settings.h"
#include "board/bench/stress_rates.h"
#include "board/state/board_state.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

int Fail(const std::string& text) {
    PrintError("stress_benchmark: " + text);
    return 1;
}

// Text that carries its newlines.
void Print(std::string text) {
    text.pop_back();
    PrintLine(text);
}

// One run on a board.
class Run {
public:
    Run(BoardState& state, const BenchSettings& settings) : state_(state), settings_(settings) {
        const BoardLock lock(state_);
        number_ = state_.benchRuns++;
    }

    // The exit status of the program.
    int Go() {
        const BenchFault fault = number_ < settings_.faultSkip ? BenchFault::None : settings_.fault;
        if (fault == BenchFault::Silent) {
            return 0;
        }
        Print(HeadLines(settings_, number_));
        switch (fault) {
            case BenchFault::Fail:
                return Fail("told to fail");
            case BenchFault::Kill:
                return ::raise(SIGKILL);
            case BenchFault::Hang:
                return ::pause();
            case BenchFault::Short:
                PrintResults(settings_.periods / 2);
                break;
            case BenchFault::Long:
                PrintResults(settings_.periods * 4);
                break;
            case BenchFault::Malformed:
                PrintResults(settings_.periods / 2);
                PrintLine("aicStress : lost fps.");
                PrintResults(settings_.periods / 2);
                break;
            case BenchFault::Endless:
                for (;;) {
                    PrintResults(settings_.periods + 1);
                }
            default:
                PrintResults(settings_.periods);
        }
        return 0;
    }

private:
    void PrintResults(std::uint32_t count) {
        for (std::uint32_t period = 0; period < count; ++period) {
            std::this_thread::sleep_for(std::chrono::milliseconds(settings_.paceMs));
            Print(ResultLine(Measure(period)));
        }
    }

    StressRates Measure(std::uint32_t period) {
        const BoardLock lock(state_);
        return MeasuredRates(state_, settings_, number_, period);
    }

    BoardState& state_;
    const BenchSettings& settings_;
    std::uint32_t number_ = 0;
};

int Main(const std::string& configPath) {
    std::string text;
    if (ReadFile(configPath, text) != FileResult::Ok) {
        return Fail("cannot read " + configPath);
    }
    BenchSettings settings;
    if (const auto reason = ParseBenchSettings(text, settings)) {
        return Fail(configPath + ": " + *reason);
    }
    BoardState* state = AttachBoard();
    if (state == nullptr) {
        return Fail("there is no virtual board; run it by zarn-board");
    }
    return Run(*state, settings).Go();
}

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    if (argc != 2) {
        zarn::PrintError("usage: stress_benchmark CONFIG");
        return 2;
    }
    return zarn::board::Main(argv[1]);
}
