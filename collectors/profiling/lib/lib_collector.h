#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "collectors/profiling/lib/lib_settings.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Records with `perf record`, one process after the other, where processes spend their processor
// time and miss their caches, and leaves the call stacks as text: which libraries they are in. It
// makes no document. A recording that fails says so; the others go on.
class LibCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "LibCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return LibCollectorKeys(); }

    explicit LibCollector(std::string name, Host host = {});

    // False if the directory cannot be made, a time cannot be had, or an interrupt came before the
    // last recording began; what was recorded stays.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    void FindProcesses(const JsonDocument& config);
    [[nodiscard]] bool Record(const StopFlag* stopFlag);
    [[nodiscard]] bool TakeTime(std::string& time) const;

    Host host_;
    std::map<std::string, std::string> pids_;  // by process
    std::uint32_t duration_ = 0;               // of each recording, s
    std::string rawPath_;
};

}  // namespace zarn
