#pragma once

#include <chrono>
#include <string>

namespace zarn {

// What a mission's run cost in wall time: started at the entry of `Start`, recorded when the work
// has succeeded. A mission that fails records nothing.
class MissionCost {
public:
    MissionCost() : start_(std::chrono::steady_clock::now()) {}

    // Appends "[<missionName>] cost time: <seconds>s" to env_info/time_cost.log below `dataPath`,
    // the seconds being whole milliseconds / 1000.0 in a stream's default number format. `words`
    // are those between name and seconds of a mission that writes them otherwise.
    void Record(const std::string& missionName, const std::string& dataPath,
                const char* words = kWords) const;

    // The same, and prints the line on standard output.
    void RecordAndPrint(const std::string& missionName, const std::string& dataPath) const;

private:
    static constexpr const char* kWords = "] cost time: ";

    [[nodiscard]] std::string LineOf(const std::string& missionName, const char* words) const;

    std::chrono::steady_clock::time_point start_;
};

// Appends the stream's text to env_info/time_cost.log below `dataPath`, under the process-wide cost
// lock. A file that cannot be opened is passed over in silence.
void RecordCostTime(const std::string& dataPath, const std::ostringstream& text);

}  // namespace zarn
