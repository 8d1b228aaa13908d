#include <array>
#include <regex>

#include "foundation/regex_guard.h"
#include "fuzz/fuzz_input.h"

namespace {

// Shapes that missions use, none of which backtracks without bound on a short text.
const std::array<std::regex, 8> kPatterns{
    std::regex(R"(\d{17})"),
    std::regex(R"(soc_gea_cpu_usage_info_1_(\d+)\.log)", std::regex::icase),
    std::regex(R"(^(\S+)\s+:\s*(\d+\.?\d+)\s*us)"),
    std::regex(R"(^(a|ab)(c|bcd)(d*)$)"),
    std::regex(R"(([^,]*),\s*(\w+)\b)"),
    std::regex(R"((.*?)([A-Z])\s*$)"),
    std::regex(R"(^[\t ]*(-?\d+)(?=\D|$))"),
    std::regex(R"((x+x+)y)")};

constexpr std::size_t kLongestText = 48;

}  // namespace

// The first byte chooses a pattern, the rest is the text: search and match give the standard
// library's verdict and groups.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > kLongestText) {
        return 0;
    }
    const std::regex& pattern = kPatterns[data[0] % kPatterns.size()];
    const std::string_view text = zarn::fuzz::AsText(data + 1, size - 1);
    zarn::ViewMatch expected;
    zarn::ViewMatch match;
    const bool found = std::regex_search(text.begin(), text.end(), expected, pattern);
    zarn::fuzz::Require(zarn::SearchGuarded(text, pattern, match) == found, "same verdict");
    for (std::size_t group = 0; found && group < expected.size(); ++group) {
        zarn::fuzz::Require(match[group] == expected[group], "same groups");
    }
    zarn::ViewMatch whole;
    zarn::fuzz::Require(zarn::MatchGuarded(text, pattern, whole) ==
                            std::regex_match(text.begin(), text.end(), pattern),
                        "same verdict on the whole text");
    return 0;
}
