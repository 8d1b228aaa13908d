#pragma once

#include <string>

#include "foundation/json.h"
#include "optimizer/options/optimizer_settings.h"
#include "tests/support/captured_streams.h"

namespace zarn::test {

// A JSON text, in which ' stands for ", as a document. Fails the test if it is none.
[[nodiscard]] JsonDocument Json(std::string text);

// What reading the options of a configuration gave.
struct OptionsRun {
    bool ok = false;
    OptimizerSettings settings;
    Captured captured;
};

// Reads the whole configuration `text`, in which ' stands for ".
[[nodiscard]] OptionsRun ReadOptions(const std::string& text);

// The settings of a whole, faultless psoConf for small searches, in which parts can be replaced.
[[nodiscard]] std::string PsoConf(const std::string& extra = "");

// A whole configuration in auto mode with that psoConf.
[[nodiscard]] std::string AutoConfig(const std::string& psoConf);

}  // namespace zarn::test
