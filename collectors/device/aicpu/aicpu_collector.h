#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collectors/device/aicpu/aicpu_commands.h"
#include "collectors/device/aicpu/aicpu_settings.h"
#include "formats/aicpu.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Copies the attributes of the AICPU complex's event scheduler, in passes, for one process on one
// core after the other. What the attributes show is chosen by a selection, which is the machine's:
// it is cleared on every path, and collectors of one program take turns.
class AicpuCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "AicpuCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return AicpuCollectorKeys(); }

    explicit AicpuCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    [[nodiscard]] bool Collect();

    // What the settings can be held to only now.
    bool CheckSettings();
    bool ReadCoreSet();
    bool CheckCores() const;
    bool CheckLimits() const;

    bool FindProcesses();
    bool FindPids();
    bool FindGroups();
    bool FindGroupOf(AicpuProcess& process);
    // Takes, reads and removes a snapshot of one attribute; false if there is none to read.
    bool ReadSnapshot(const std::string& attribute, std::vector<std::string>& lines);

    void PlanPasses();
    bool TakePasses();
    void CopyDevice();
    bool TakePassesOf(AicpuProcess& process);
    bool TakePass(AicpuProcess& process);
    void Merge(const std::vector<std::string>& attributes, const std::string& target);

    bool Select(const AicpuProcess& process);
    void ClearSelection();
    // Runs a shell line; false after a line of its own if it fails.
    bool RunLine(const std::string& line);

    Host host_;
    const StopFlag* stopFlag_ = nullptr;  // of the run, once started
    AicpuSettings settings_;
    AicpuRecord record_;
    AicpuPlaces places_;
    AicpuLists lists_;                    // copied in each pass, in this order
    std::vector<std::string> passLines_;  // of a pass: its markers, then a copy of each list
};

}  // namespace zarn
