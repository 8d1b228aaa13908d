#include <algorithm>
#include <array>
#include <string>

#include "analyzers/cpu/cpu_patterns.h"
#include "fuzz/fuzz_input.h"

// The exact matchers against their expressions: same verdict, same groups. The first byte chooses
// one; the text is kept short, since the expressions backtrack without bound.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLongestText = 60;
    if (size == 0 || size > kLongestText) {
        return 0;
    }
    const zarn::CpuPatternTable& table = zarn::CpuPatterns();
    const auto& pattern =
        std::next(table.begin(), data[0] % static_cast<int>(table.size()))->second;
    // A line never holds its own end.
    std::string text(zarn::fuzz::AsText(data + 1, size - 1));
    std::replace(text.begin(), text.end(), '\n', ' ');

    std::smatch expected;
    zarn::CpuGroups groups;
    const bool found = std::regex_search(text, expected, pattern.compiled);
    zarn::fuzz::Require(pattern.match(text, groups) == found, "same verdict");
    for (std::size_t group = 0; found && group < expected.size(); ++group) {
        zarn::fuzz::Require(expected[group] == std::string(groups[group]), "same groups");
    }
    return 0;
}
