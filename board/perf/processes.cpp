#include "board/perf/processes.h"

#include "foundation/zarn_utils.h"

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

std::vector<std::uint32_t> ChildrenOf(std::int32_t pid) {
    const std::string self = std::to_string(pid);
    std::vector<std::uint32_t> children;
    std::string list;
    std::vector<std::string> numbers;
    if (ReadFile("/proc/" + self + "/task/" + self + "/children", list) == FileResult::Ok) {
        SplitString(list, " ", numbers);
    }
    for (const std::string& number : numbers) {
        std::uint32_t child = 0;
        if (IsDigitString(number) && StringToUint32(number, child)) {
            children.push_back(child);
        }
    }
    return children;
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
