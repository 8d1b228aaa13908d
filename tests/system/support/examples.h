#pragma once

#include <string>
#include <vector>

namespace zarn::test {

// What the runnable configurations of docs/examples need: any machine with recorded tools, or the
// virtual board, which is every example that names a mission of the DDR, the AI cores or the AICPU,
// or the scheduler's own recorder.
// An example is in exactly one list.
[[nodiscard]] std::vector<std::string> ExamplesForAnyMachine();
[[nodiscard]] std::vector<std::string> ExamplesForTheBoard();

// The text of one.
[[nodiscard]] std::string ExampleText(const std::string& name);

}  // namespace zarn::test
