#include "collectors/system/cpu_peak/core_load.h"

#include <algorithm>

namespace zarn {
namespace {

// From here on a difference of 32 bits is one of a count that went back.
constexpr std::uint32_t kWentBack = std::uint32_t{1} << 31;

}  // namespace

bool IdleShares(const std::vector<CoreCounts>& before, const std::vector<CoreCounts>& after,
                std::vector<float>& shares) {
    shares.clear();
    for (std::size_t i = 0; i < std::min(before.size(), after.size()); ++i) {
        const std::uint32_t total = after[i].total - before[i].total;
        if (total == 0 || total >= kWentBack) {
            return false;
        }
        const std::uint32_t idle = after[i].idle - before[i].idle;
        shares.push_back(static_cast<float>(idle) / static_cast<float>(total));
    }
    return true;
}

CoreChoice ChooseCores(const std::vector<float>& idleShares, float idleLimit) {
    CoreChoice choice;
    float mostIdle = 0.0F;
    for (std::size_t core = 0; core < idleShares.size(); ++core) {
        if (idleLimit > idleShares[core]) {
            choice.busy += (choice.busy.empty() ? "" : ",") + std::to_string(core);
        } else if (idleShares[core] > mostIdle) {
            mostIdle = idleShares[core];
            choice.quiet = static_cast<std::uint32_t>(core);
        }
    }
    return choice;
}

}  // namespace zarn
