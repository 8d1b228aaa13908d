#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "collectors/system/cpu/cpu_documents.h"
#include "collectors/system/cpu/cpu_samples_parser.h"
#include "collectors/system/cpu/cpu_settings.h"
#include "formats/run_tree.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Records the load of the CPU cluster over a series of samples: runs `top` in three forms and `ps`
// at the same time, each on a thread of its own, cuts their text into one batch per sample, files
// the batches in raw_data/cpu/ and, on request, writes a document per sample to json/.
class CpuCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "CpuCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return CpuCollectorKeys(); }

    explicit CpuCollector(std::string name, Host host = {})
        : BasicCollector(std::move(name)), host_(std::move(host)) {}

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    // A number or boolean of another JSON type, or a list that is no array, ends the process by the
    // JSON library's assertion.
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

    [[nodiscard]] const CpuSettings& Settings() const { return settings_; }

private:
    // What the measuring threads fill, each its own members, without a lock. Of what the tools
    // print only what will be filed is kept.
    struct CollectData {
        // top
        std::string topTime;
        CpuLog usage;
        CpuLog global;
        CpuLog selected;
        // top -1
        std::string coreTime;
        CpuLog cores;
        // top -H
        std::string threadTime;
        CpuLog threads;
        // ps
        std::vector<CpuRows> top10;
        std::vector<CpuRows> selectedPs;
        CpuThreadRows threadRowsByPid;  // of the last pass that showed the pid
    };

    // Where the raw files go; a list whose file has no path is not written.
    struct RawFilePaths {
        std::string usage;
        std::string global;
        std::string cores;
        std::string selected;
        std::string threads;
    };

    [[nodiscard]] bool ProcessCpuInfo(const std::string& dataPath, const StopFlag* stopFlag);
    void CollectCpuInfo(const StopFlag* stopFlag);
    void SaveRawFiles(const StopFlag* stopFlag) const;
    [[nodiscard]] bool SaveDocuments() const;

    void RunMeasuringThreads();
    void RunTop();
    void RunTopOfCores();
    void RunTopOfThreads();
    void RunPs();
    void CollectThreadRows(std::string_view psText);
    void TakeTime(const char* wordsIfFailed, std::string& time) const;
    void RunCommand(const std::string& command, std::string& text) const;
    // Without a cutter the output is not kept.
    void CutOutput(const std::string& command, TopOutputCutter* cutter) const;
    [[nodiscard]] std::string TopCommand(const char* program, const char* options) const;

    [[nodiscard]] bool Wants(const char* job) const;
    void NameRawFiles(const StopFlag* stopFlag);
    void NameRawFileOf(const std::string& job);
    [[nodiscard]] std::string RawFilePath(const NumberedFile& file) const;

    Host host_;
    CpuSettings settings_;
    std::string dataPath_;
    std::string timeStamp_;
    CollectData collectData_;
    RawFilePaths rawFiles_;
};

}  // namespace zarn
