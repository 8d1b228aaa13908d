#pragma once

#include <string>

#include "collectors/profiling/valgrind/program_settings.h"
#include "collectors/profiling/valgrind/valgrind_collection.h"
#include "kit/basic_collector.h"

namespace zarn {

// Starts programs under the tool massif, whose report tells how much memory each function held on
// the heap, and when. The work is that of ValgrindCollection.
class MassifCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "MassifCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return LaunchedProgramsKeys(); }

    explicit MassifCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    ValgrindCollection collection_;
};

}  // namespace zarn
