#pragma once

#include <string>
#include <vector>

#include "collectors/profiling/sys_call/sys_call_record.h"
#include "collectors/profiling/sys_call/sys_call_settings.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Traces the system calls of processes with `strace`, all at once, and makes a document of the
// summaries; if asked, with each call. A thread for each process waits for its tracer, and fills
// nothing; all are joined before the logs are read. A trace that fails leaves an empty list.
class SysCallCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "SysCallCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return SysCallCollectorKeys(); }

    explicit SysCallCollector(std::string name, Host host = {});

    // False if the directory cannot be made, the time cannot be had, none of the processes runs, or
    // an interrupt came before the trace; later it changes nothing.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    [[nodiscard]] bool CollectSysCalls(const StopFlag* stopFlag);
    [[nodiscard]] bool CollectRawLogs();
    void RunTracers();
    void OrganizeSummaries();
    // False after its lines if the log cannot be searched.
    [[nodiscard]] bool ReadSummary(SysCallRecord& record);
    void ReadAllDetails(SysCallRecord& record);
    [[nodiscard]] bool ReadCallDetails(const std::string& log, const std::string& name,
                                       CallDetails& details);
    void SaveResultJson() const;

    Host host_;
    SysCallSettings settings_;
    std::string dataPath_;
    std::string time_;
    std::vector<SysCallRecord> records_;
};

}  // namespace zarn
