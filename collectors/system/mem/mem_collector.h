#pragma once

#include <optional>
#include <string>
#include <vector>

#include "collectors/system/mem/mem_documents.h"
#include "collectors/system/mem/mem_log.h"
#include "collectors/system/mem/mem_process_rows.h"
#include "collectors/system/mem/mem_settings.h"
#include "collectors/system/mem/share_pool_parser.h"
#include "formats/run_tree.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/event_writer.h"
#include "kit/host.h"

namespace zarn {

// Samples the memory of the system and of single processes by shell pipelines over `free` and files
// of /proc. Each sample is a table in a text log and, for most tables, a document; each table has
// one file a run. A table that cannot be taken says so and is left out of that sample, as is one
// that an interrupt cuts short; the others and the later samples go on.
class MemCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "MemCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return MemCollectorKeys(); }

    explicit MemCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    // Looks up the processes to watch, too.
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    using WriteRows = bool (*)(const std::vector<MemRow>& rows, const std::string& happenTime,
                               EventWriter& events);

    void FindNamedProcesses();
    bool FindAllProcesses();

    bool CollectSamples();
    // A pass, and its part about processes, fail if there is no list of processes to watch: the
    // pass is then to be taken again.
    bool TakePass();
    void SampleSystem();
    bool SampleProcessMemory();

    // The counters and their sum, or nothing.
    std::vector<std::string> SampleCounters();
    std::optional<std::string> ReadFreeSum(int column);
    bool ReadFreeValues(std::vector<std::string>& values);
    void SampleFree(const std::vector<std::string>& counters);

    void SampleSharePool();
    bool ReadSharePoolTable(std::vector<SharePoolRow>& rows);
    bool AddSharePoolRow(const SharePoolRow& row, std::string& table);

    void SampleProcesses();
    std::optional<MemRow> ReadProcess(const std::string& pid);
    void SaveProcessLog(const std::vector<MemRow>& rows);
    void SaveProcessDocuments(const std::vector<MemRow>& rows);
    void SaveRows(const NumberedFile& file, const std::vector<MemRow>& rows, WriteRows write,
                  const char* wordsIfMissing);
    void SampleSmaps(const std::string& pid);

    // Whether an interrupt came. It may have reached the tools too, so that what they printed is
    // torn.
    [[nodiscard]] bool IsStopped() const { return IsSet(stopFlag_); }
    bool TakeTime();
    bool Read(const std::string& command, std::string& output);
    // Hands the command's output to a log, piece by piece.
    bool Copy(const std::string& command, MemLogText& log);

    Host host_;
    const StopFlag* stopFlag_ = nullptr;  // of the run, once started
    MemSettings settings_;
    std::vector<std::string> pids_;  // of the processes to watch, once known
    std::string dataPath_;
    std::string timeStamp_;   // of the start, as in the files' names
    std::string sampleTime_;  // of the table in hand
};

}  // namespace zarn
