#pragma once

#include <string>
#include <vector>

#include "foundation/json.h"

namespace zarn::test {

// The lines of a text, without their ends.
[[nodiscard]] std::vector<std::string> LinesIn(const std::string& text);

// The JSON documents of a text, one a line; fails the test for a line that is none.
[[nodiscard]] std::vector<JsonDocument> DocumentsIn(const std::string& text);

}  // namespace zarn::test
