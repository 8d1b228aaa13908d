#include "board/perf/processes.h"

#include "foundation/files.h"

namespace zarn::board {

std::optional<std::string> ProcessName(std::uint32_t pid) {
    std::string name;
    if (ReadFile("/proc/" + std::to_string(pid) + "/comm", name) != FileResult::Ok ||
        name.empty()) {
        return std::nullopt;
    }
    name.pop_back();
    return name;
}

std::optional<std::size_t> ProgramNamed(const BoardState& state, const std::string& name) {
    for (std::size_t i = 0; i < state.scenario.programs.count; ++i) {
        if (name == state.scenario.programs.plans[i].name.data()) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> ProgramsOf(const BoardState& state,
                                        const std::vector<std::uint32_t>& pids) {
    std::uint32_t programs = 0;
    for (const std::uint32_t pid : pids) {
        const auto name = ProcessName(pid);
        if (!name) {
            return std::nullopt;
        }
        if (const auto program = ProgramNamed(state, *name)) {
            programs |= 1U << *program;
        }
    }
    return programs;
}

}  // namespace zarn::board
