#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "comparators/cpu/cpu_comparison_settings.h"
#include "comparators/cpu/cpu_figures.h"
#include "kit/basic_comparator.h"
#include "kit/host.h"
#include "kit/version_files.h"

namespace zarn {

// Sets the CPU load of software versions side by side: reads the raw logs that the CPU collector
// left in each version's tree, reduces every figure of `top` to maximum, minimum and average over
// all samples, and writes one table with a column for each version.
class CpuComparator final : public BasicComparator {
public:
    static constexpr const char* kName = "CpuComparator";
    [[nodiscard]] static const SettingKeys& Keys() { return CpuComparatorKeys(); }

    CpuComparator(std::string name, std::map<std::string, std::string> versionMap,
                  const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // The steps, in their order. Read and Write fail after their lines.
    [[nodiscard]] bool Compare(const std::string& dataPath);
    [[nodiscard]] bool Read();
    void Reduce();
    [[nodiscard]] bool Write(const std::string& targetDir);

    [[nodiscard]] bool ReadSystemFigures(const VersionTree& tree, SystemValues& values) const;
    [[nodiscard]] bool ReadProcessFigures(const VersionTree& tree,
                                          std::vector<ProcessValues>& values) const;

    // True, after the line, at the first sight of the set flag: a stop ends the step that it falls
    // into, and what was gathered till then goes through the others.
    [[nodiscard]] bool TakeStop();

    CpuComparisonSettings settings_;
    std::vector<VersionFigures> figures_;  // of the versions read, in their order
    ComparisonRows rows_;
    const StopFlag* stopFlag_ = nullptr;
    bool stopTaken_ = false;
};

}  // namespace zarn
