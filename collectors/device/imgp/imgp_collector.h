#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collectors/device/imgp/imgp_settings.h"
#include "formats/run_tree.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/event_writer.h"
#include "kit/host.h"

namespace zarn {

// Measures the image and video pre-processing block: how busy its engines are, tables of what the
// device profiling tool traces, the kernel's statistics. A job that fails says so, and the next one
// runs. An interrupt is seen between the jobs and, unlike with other collectors, counts as a
// failure.
class ImgpCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "ImgpCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return ImgpCollectorKeys(); }

    explicit ImgpCollector(std::string name, Host host = {});

    // Reads its section again.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // A call of the profiling tool, the table that is made of what it leaves below `folder`, and
    // the lines about what goes wrong.
    struct Profiling {
        std::string command;
        std::string folder;
        NumberedFile table;
        const char* wordsIfNotRun;
        const char* wordsIfFailed;
    };

    // False after an interrupt.
    bool RunJobs(const StopFlag* stopFlag);

    [[nodiscard]] bool HasEngineJob() const;
    void CollectUtilization();
    bool FindDevices();
    void WriteUtilization(int device, EventWriter& events);
    [[nodiscard]] std::int32_t ReadRate(int device, const ImgpEngine& engine);

    void ProfileDevice();
    void ProfileApp();
    // Whether the application is there; cleans the words that name it.
    bool FindApp();
    bool WriteScript(const std::string& path) const;

    void CopyStatistics();

    bool TakeTime();
    void RunTool(const Profiling& profiling);

    Host host_;
    ImgpSettings settings_;
    std::string dataPath_;
    std::string collectTime_;  // of the job in hand
    std::vector<int> devices_;
};

}  // namespace zarn
