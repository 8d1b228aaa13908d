#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collectors/device/mbuf/mbuf_documents.h"
#include "collectors/device/mbuf/mbuf_names.h"
#include "collectors/device/mbuf/mbuf_records.h"
#include "collectors/device/mbuf/mbuf_settings.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Finds buffers of the platform's pool that are held too long. In each cycle it has the buffer
// library start its recording anew, asks for what was recorded, waits five seconds and asks again;
// what only the second answer holds is the cycle's document. The recording is the library's, one
// for all processes: two collectors at work at once spoil each other's.
class MbufCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "MbufCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return MbufCollectorKeys(); }

    explicit MbufCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // Unlike those of other collectors the cycles left at a stop are gone through, and fail.
    bool RunCycles();
    bool RestartRecording();
    bool RunCycle();

    // Asks for what is recorded and writes its log. False after a line.
    bool Query(std::vector<MbufRecord>& records);
    bool AskForRecords(std::vector<MbufRecord>& records);
    // The path of a log that is not there yet.
    bool TakeLogPath(std::string& path);

    bool SaveDocument(const std::vector<const MbufRecord*>& newRecords);

    Host host_;
    MbufNames names_;
    const StopFlag* stopFlag_ = nullptr;  // of the run, once started
    MbufSettings settings_;
    std::string dataPath_;
    std::string answer_;  // the library writes into it
};

}  // namespace zarn
