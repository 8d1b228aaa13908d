#pragma once

#include <string>
#include <utility>

#include "foundation/json.h"
#include "foundation/stop_flag.h"

namespace zarn {

// A mission that reads what collectors left in a run directory and writes conclusions beside it.
// Built by name, started once on the main thread, destroyed with the manager.
class BasicAnalyzer {
public:
    explicit BasicAnalyzer(std::string name) : name_(std::move(name)) {}
    BasicAnalyzer(const BasicAnalyzer&) = delete;
    BasicAnalyzer& operator=(const BasicAnalyzer&) = delete;
    virtual ~BasicAnalyzer() = default;

    // Reads and validates its own section, then analyses. `dataPath` is the run directory if a
    // collector ran in this process, else the configured history directory; it has its final slash.
    [[nodiscard]] virtual bool Start(const JsonDocument& config, const std::string& dataPath,
                                     const StopFlag* stopFlag) = 0;

    [[nodiscard]] std::string Name() const { return name_; }

private:
    std::string name_;
};

}  // namespace zarn
