#include "foundation/mission_cost.h"

#include <sstream>

#include "foundation/zarn_utils.h"

namespace zarn {

void MissionCost::Record(const std::string& missionName, const std::string& dataPath) const {
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start_);
    std::ostringstream text;
    text << "[" << missionName << "] cost time: " << static_cast<double>(elapsed.count()) / 1000.0
         << "s\n";
    RecordCostTime(dataPath, text);
}

}  // namespace zarn
