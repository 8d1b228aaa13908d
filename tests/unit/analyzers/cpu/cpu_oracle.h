#pragma once

#include <string>
#include <string_view>

namespace zarn::test {

// Compares every exact matcher of the CPU patterns with its compiled expression on `line`: verdict,
// and place and length of all groups. Gives the differences, a line each; empty if there is none.
[[nodiscard]] std::string DifferencesFromOracle(std::string_view line);

// How often each verdict of the compiled expression was seen since the start of the program: a test
// on random lines is worth little if no line matches.
[[nodiscard]] int MatchesSeen(const std::string& pattern);

}  // namespace zarn::test
