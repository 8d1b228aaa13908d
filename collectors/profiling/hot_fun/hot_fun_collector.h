#pragma once

#include <map>
#include <string>
#include <vector>

#include "collectors/profiling/hot_fun/hot_fun_settings.h"
#include "collectors/profiling/hot_fun/report_rows.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Records call chains with `perf record`: of cores, of processes, of the system, and of the system
// once more for the shares of function sets. If asked, makes documents of the recordings: the
// hottest functions, and the sets' shares. A recording that fails says so; the others go on.
class HotFunCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "HotFunCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return HotFunCollectorKeys(); }

    explicit HotFunCollector(std::string name, Host host = {});

    // False if the directory cannot be made, or an interrupt came before the last recording began:
    // then nothing is made of the others.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // A recording to be taken.
    struct Recording {
        const char* option;  // of `perf record`
        std::string value;   // of the option
        std::string tag;
        std::string words;  // what it is about, in messages
    };

    // A job's recordings; all are taken, whatever comes between them.
    struct Step {
        const char* job;
        const char* wordsIfStopped;
        std::vector<Recording> recordings;
    };

    void FindProcesses();
    [[nodiscard]] std::vector<Step> Steps() const;
    [[nodiscard]] bool Record(const StopFlag* stopFlag);
    void Take(const char* job, const Recording& recording);

    void CreateDocuments();
    void SaveCore(const std::string& core);
    void SaveProcesses();
    void SaveGlobal();
    void SaveFunctionSets();
    // The time of the job's last recording; nullptr if it has none.
    [[nodiscard]] const std::string* TimeOf(const char* job) const;
    void SaveRows(const char* job, const std::string& suffix, const ReportRows& rows);

    // Reports on the recordings that the shell finds by `glob`. False after its line; what was
    // reported then stays, and the job's next report has it, too.
    [[nodiscard]] bool ReadReport(const std::string& job, const std::string& glob,
                                  ReportRows& rows);
    void RemoveReport(const std::string& job);

    Host host_;
    HotFunSettings settings_;
    std::map<std::string, std::string> pids_;   // by process
    std::map<std::string, std::string> times_;  // of the last recording, by job
    std::string dataPath_;
};

}  // namespace zarn
