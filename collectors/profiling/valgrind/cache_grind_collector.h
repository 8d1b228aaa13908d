#pragma once

#include <string>

#include "collectors/profiling/valgrind/program_settings.h"
#include "collectors/profiling/valgrind/valgrind_collection.h"
#include "kit/basic_collector.h"

namespace zarn {

// Starts programs under the tool cachegrind, whose report tells how many instructions each function
// executed. The work is that of ValgrindCollection.
class CacheGrindCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "CacheGrindCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return LaunchedProgramsKeys(); }

    explicit CacheGrindCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    ValgrindCollection collection_;
};

}  // namespace zarn
