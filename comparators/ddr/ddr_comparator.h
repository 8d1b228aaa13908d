#pragma once

#include <map>
#include <set>
#include <string>

#include "comparators/ddr/ddr_version_info.h"
#include "kit/basic_comparator.h"
#include "kit/host.h"
#include "kit/setting_key.h"

namespace zarn {

// Sets the DDR results of the versions side by side in csv/ddr/soc_ddr_comp_info.csv: shares and
// QoS bounds of every bus master and of the total. A version's analysis is used where there is one;
// else the figures are computed from what its collector left. A version that cannot be read is told
// and shows "N/A".
class DdrComparator final : public BasicComparator {
public:
    static constexpr const char* kName = "DdrComparator";
    [[nodiscard]] static const SettingKeys& Keys();

    DdrComparator(std::string name, std::map<std::string, std::string> versionMap,
                  const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    bool InitPath(const std::string& dataPath);
    bool Compare(const StopFlag* stopFlag);
    [[nodiscard]] bool Save() const;

    std::set<std::string> jobs_;
    std::string compCsvPath_;
    std::map<std::string, DdrVersionInfo> versions_;
};

}  // namespace zarn
