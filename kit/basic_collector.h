#pragma once

#include <string>
#include <utility>

#include "foundation/json.h"
#include "foundation/stop_flag.h"

namespace zarn {

// A mission that measures. Built by name, checked once, started once, by one thread (its own in
// parallel mode), destroyed with the manager. It reads only the section named after it, writes raw
// text to raw_data/<sub>/ and documents to json/ below `dataPath`.
class BasicCollector {
public:
    explicit BasicCollector(std::string name) : name_(std::move(name)) {}
    BasicCollector(const BasicCollector&) = delete;
    BasicCollector& operator=(const BasicCollector&) = delete;
    virtual ~BasicCollector() = default;

    // Measures. `config` is the parsed document, `dataPath` the run directory with its final slash.
    // True if the work was done; a stop by the flag usually counts as done.
    [[nodiscard]] virtual bool Start(const JsonDocument& config, const std::string& dataPath,
                                     const StopFlag* stopFlag) = 0;

    // Reads the collector's section into its own fields; true if it is complete and legal.
    // `modeName` is "parallelCollector" or "collector"; no collector acts on it.
    [[nodiscard]] virtual bool CheckOptions(const JsonDocument& config,
                                            const std::string& modeName) = 0;

    [[nodiscard]] std::string Name() const { return name_; }

private:
    std::string name_;
};

}  // namespace zarn
