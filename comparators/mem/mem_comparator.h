#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "comparators/mem/mem_comparison_tables.h"
#include "kit/basic_comparator.h"
#include "kit/host.h"
#include "kit/setting_key.h"

namespace zarn {

// Sets what MemCollectors left in the trees of several versions side by side: least, average and
// greatest value of each figure of the system in csv/mem/mem_system_info.csv, and of five figures
// of each named process in csv/mem/mem_process_info.csv. A version that cannot be read is told and
// shows "N/A".
class MemComparator final : public BasicComparator {
public:
    static constexpr const char* kName = "MemComparator";
    [[nodiscard]] static const SettingKeys& Keys();

    MemComparator(std::string name, std::map<std::string, std::string> versionMap,
                  const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    [[nodiscard]] bool Wants(const char* job) const { return jobs_.count(job) != 0; }
    void Load(const StopFlag* stopFlag);
    void LoadVersion(const std::string& version, const std::string& root);
    [[nodiscard]] bool Save(const std::string& directory) const;

    std::set<std::string> jobs_;
    std::vector<std::string> processes_;
    MemVersions versions_;
};

}  // namespace zarn
