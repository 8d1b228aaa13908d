#include "board/model/programs.h"

#include <algorithm>

namespace zarn::board {
namespace {

std::uint32_t AreasKb(const BoardPrograms& programs) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < programs.areaCount; ++i) {
        sum += programs.areas[i].kb;
    }
    return sum;
}

}  // namespace

std::uint32_t PrivateKb(const ProgramPlan& plan, std::uint64_t timeMs) {
    std::int64_t kb = plan.privateKb;
    for (std::size_t i = 0; i < plan.stepCount; ++i) {
        kb += plan.steps[i].atMs <= timeMs ? plan.steps[i].addKb : 0;
    }
    kb += static_cast<std::int64_t>(timeMs * plan.leakKbPerS / 1000);
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(kb, 0, plan.mostKb));
}

std::uint32_t SharePoolKb(const ProgramPlan& plan, std::uint64_t timeMs) {
    if (plan.privateKb == 0) {
        return plan.sharePoolKb;
    }
    return static_cast<std::uint32_t>(std::uint64_t{plan.sharePoolKb} * PrivateKb(plan, timeMs) /
                                      plan.privateKb);
}

std::uint32_t ProgramsKb(const BoardPrograms& programs, std::uint64_t timeMs) {
    std::uint32_t sum = AreasKb(programs);
    for (std::size_t i = 0; i < programs.count; ++i) {
        sum += PrivateKb(programs.plans[i], timeMs);
    }
    return sum;
}

std::uint64_t MostProgramsKb(const BoardPrograms& programs) {
    std::uint64_t sum = AreasKb(programs);
    for (std::size_t i = 0; i < programs.count; ++i) {
        sum += programs.plans[i].mostKb;
    }
    return sum;
}

}  // namespace zarn::board
