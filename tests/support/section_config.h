#pragma once

#include <string>
#include <utility>
#include <vector>

#include "foundation/json.h"

// Configurations of one section, for tests of the mission that it is for. ConfigText
// (manager_texts.h) makes whole ones.
namespace zarn::test {

// The keys of a section in their order, and their values as JSON.
using SectionKeys = std::vector<std::pair<std::string, std::string>>;

// The section of these keys in which one key has another value, or is left out if that is empty.
[[nodiscard]] std::string SectionText(const SectionKeys& keys, const std::string& changedKey = "",
                                      const std::string& value = "");

// The configuration that has the section `text`, JSON of any type, under `name`, as a text.
[[nodiscard]] std::string ConfigOf(const std::string& name, const std::string& text);

// The same, parsed; fails the test if the text is no JSON.
[[nodiscard]] JsonDocument ParsedConfigOf(const std::string& name, const std::string& text);

}  // namespace zarn::test
