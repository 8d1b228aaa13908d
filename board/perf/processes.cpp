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

std::optional<std::uint32_t> ProgramsOf(const BoardState& state,
                                        const std::vector<std::uint32_t>& pids) {
    std::uint32_t programs = 0;
    for (const std::uint32_t pid : pids) {
        if (!ProcessName(pid)) {
            return std::nullopt;
        }
        for (std::size_t i = 0; i < state.scenario.programs.count; ++i) {
            const bool isProgram = state.programPids[i] == static_cast<std::int32_t>(pid);
            programs |= isProgram ? 1U << i : 0U;
        }
    }
    return programs;
}

}  // namespace zarn::board
