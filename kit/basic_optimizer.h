#pragma once

#include <string>
#include <utility>

#include "foundation/json.h"
#include "foundation/stop_flag.h"

namespace zarn {

// A mission that changes settings of the board. Built by name, started once on the main thread.
class BasicOptimizer {
public:
    explicit BasicOptimizer(std::string name) : name_(std::move(name)) {}
    BasicOptimizer(const BasicOptimizer&) = delete;
    BasicOptimizer& operator=(const BasicOptimizer&) = delete;
    virtual ~BasicOptimizer() = default;

    [[nodiscard]] virtual bool Start(const JsonDocument& config, const std::string& dataPath,
                                     const StopFlag* stopFlag) = 0;

    // Reads the optimizer's section; it is the optimizer's own `Start` that calls it.
    [[nodiscard]] virtual bool CheckOptions(const JsonDocument& config) = 0;

    [[nodiscard]] std::string Name() const { return name_; }

private:
    std::string name_;
};

}  // namespace zarn
