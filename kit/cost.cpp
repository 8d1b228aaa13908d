#include "kit/cost.h"

#include <mutex>
#include <sstream>

#include "formats/run_tree.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {

std::string MissionCost::LineOf(const std::string& missionName, const char* words) const {
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start_);
    std::ostringstream text;
    text << "[" << missionName << words << static_cast<double>(elapsed.count()) / 1000.0 << "s";
    return text.str();
}

void MissionCost::Record(const std::string& missionName, const std::string& dataPath,
                         const char* words) const {
    RecordCostTime(dataPath, std::ostringstream(LineOf(missionName, words) + "\n"));
}

void MissionCost::RecordAndPrint(const std::string& missionName,
                                 const std::string& dataPath) const {
    const std::string line = LineOf(missionName, kWords);
    PrintLine(line);
    RecordCostTime(dataPath, std::ostringstream(line + "\n"));
}

void RecordCostTime(const std::string& dataPath, const std::ostringstream& text) {
    static std::mutex costLock;
    const std::lock_guard<std::mutex> guard(costLock);
    (void)AppendFile(dataPath + run_tree::kCostLog, text.str());
}

}  // namespace zarn
