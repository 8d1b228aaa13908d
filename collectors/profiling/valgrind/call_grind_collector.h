#pragma once

#include <map>
#include <string>

#include "collectors/profiling/valgrind/program_settings.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Records call chains of running processes with `perf record`, one process after the other. It has
// only its section in common with valgrind's tool of that name. A recording that fails says so; the
// others go on.
class CallGrindCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "CallGrindCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return RunningProcessesKeys(); }

    explicit CallGrindCollector(std::string name, Host host = {});

    // False if the directory cannot be made, there is no time for a file's name, or an interrupt
    // came before the last process.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    void FindProcesses();
    [[nodiscard]] bool Collect(const StopFlag* stopFlag);

    Host host_;
    RunningProcesses settings_;
    std::map<std::string, std::string> pids_;  // by process
    std::string rawDir_;
};

}  // namespace zarn
