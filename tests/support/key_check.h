#pragma once

#include <functional>
#include <string>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn::test {

// An option check under test: whether it takes a configuration.
using OptionCheck = std::function<bool(const JsonDocument&)>;

// Holds `check` to the keys that a mission declares of its section. `valid` is a configuration that
// it takes. In it each declared key that it holds is taken away, given a value of every other type,
// set to its limits and beyond, and given its words and a word that is none: the check must take
// what the declaration allows, and refuse the rest or end the process. At least one declared key
// must be there.
void ExpectKeysHold(const std::string& section, const SettingKeys& keys, const std::string& valid,
                    const OptionCheck& check);

}  // namespace zarn::test
