#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "kit/basic_comparator.h"
#include "kit/host.h"
#include "kit/setting_key.h"

namespace zarn {

// Sets the recordings that HotFunCollectors left in the trees of several versions side by side with
// `perf diff`: of cores, of processes, of the system, a table each. A version without a recording
// is told and left out of that table.
class HotFunComparator final : public BasicComparator {
public:
    static constexpr const char* kName = "HotFunComparator";
    [[nodiscard]] static const SettingKeys& Keys();

    HotFunComparator(std::string name, std::map<std::string, std::string> versionMap,
                     Host host = {});

    // False if the directory cannot be made, or an interrupt came before the last job began.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    // Looks for the recordings, too.
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // A table to be made, of the versions (name to root) that have a recording.
    struct Comparison {
        std::string job;
        std::string element;  // of the job; empty for the system
        std::string tag;      // in the names of files
        std::map<std::string, std::string> versions;
    };

    [[nodiscard]] bool Wants(const char* job) const { return jobs_.count(job) != 0; }
    [[nodiscard]] bool ReadJobList(const JsonDocument& config);
    [[nodiscard]] bool ReadOptions(const JsonValue& section);
    [[nodiscard]] bool ReadProcesses(const JsonValue& section);
    [[nodiscard]] bool ReadCores(const JsonValue& section);
    void AddGlobal();
    // The versions that hold a file whose name has the pattern; a line for each other one. `words`:
    // what is compared.
    [[nodiscard]] std::map<std::string, std::string> FindVersions(const char* job,
                                                                  const std::string& pattern,
                                                                  const std::string& words) const;

    [[nodiscard]] bool CompareAll(const StopFlag* stopFlag) const;
    void Compare(const Comparison& comparison) const;
    [[nodiscard]] bool MakeTable(const Comparison& comparison, const std::string& diff) const;
    void RemoveDiff(const std::string& diff) const;

    Host host_;
    std::set<std::string> jobs_;
    std::map<std::string, std::vector<Comparison>> comparisons_;  // by job
    std::string csvDir_;
};

}  // namespace zarn
