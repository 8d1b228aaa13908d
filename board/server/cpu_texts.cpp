#include "board/server/cpu_texts.h"

#include "board/model/topdown.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

constexpr double kPercent = 100.0;
constexpr double kNsPerMs = 1e6;

std::string NameOf(const BoardState& state, std::size_t program) {
    return program == kSystemWork ? "system" : state.scenario.programs.plans[program].name.data();
}

}  // namespace

std::optional<CpuTarget> ReadTarget(const BoardState& state, const std::string& word) {
    const std::string option = word.substr(0, 2);
    std::string value = word.size() > 2 ? word.substr(2) : "";
    TrimSpaces(value);
    std::uint32_t core = 0;
    if (word == "-a") {
        return AllCores(state);
    }
    if (option == "-C" && IsDigitString(value) && StringToUint32(value, core) && core < kMaxCores) {
        return CpuTarget{1U << core, 0};
    }
    for (std::size_t i = 0; option == "-p" && i < state.scenario.programs.count; ++i) {
        if (value == state.scenario.programs.plans[i].name.data()) {
            return CpuTarget{0, 1U << i};
        }
    }
    return std::nullopt;
}

std::string TruthText(const BoardState& state, const CpuTarget& target, const BoardSpan& span) {
    const std::vector<WorkPiece> work = WorkOf(state, target, span);
    const CpuCounts counts = CountsOf(state, work);
    const Topdown topdown = TopdownOf(counts);
    std::string text = "cycles: " + FloatToString(counts[CpuEvent::Cycles], 0) +
                       "\n<==: " + topdown.bottleneck + "\n";
    for (const auto& [name, value] : topdown.metrics) {
        text += name + ": " + FloatToString(value, 4) + "\n";
    }
    const auto cycles = CyclesByFunction(state, work);
    for (std::size_t program = 0; program <= kMaxPrograms; ++program) {
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            const double share = cycles[program][i] / counts[CpuEvent::Cycles];
            const char* function = program == kSystemWork ? "-" : kWorkFunctions[i].name;
            if (cycles[program][i] > 0.0) {
                text += NameOf(state, program) + " " + function + " " +
                        FloatToString(share * kPercent, 2) + "%\n";
            }
        }
    }
    return text;
}

std::string AccountText(const BoardState& state) {
    std::string text;
    for (std::size_t program = 0; program < kMaxPrograms; ++program) {
        double sum = 0.0;
        PerFunction spent{};
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            spent[i] =
                static_cast<double>(state.accounts[program][i].load(std::memory_order_relaxed)) /
                kNsPerMs;
            sum += spent[i];
        }
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            if (spent[i] > 0.0) {
                text += NameOf(state, program) + " " + kWorkFunctions[i].name + " " +
                        FloatToString(spent[i], 3) + " ms " +
                        FloatToString(spent[i] / sum * kPercent, 2) + "%\n";
            }
        }
    }
    return text;
}

}  // namespace zarn::board
