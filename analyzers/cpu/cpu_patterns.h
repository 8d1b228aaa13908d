#pragma once

#include <array>
#include <map>
#include <regex>
#include <string>
#include <string_view>

// The regular expressions of the text that `top` prints, and an exact matcher beside each.
namespace zarn {

// The groups of a match, numbered as in the expression, [0] the whole match; views into the text
// that was searched. Groups the expression lacks keep what they held.
using CpuGroups = std::array<std::string_view, 10>;

// Searches its expression anywhere in `line`, which holds no line feed. The verdict and all groups
// are those of std::regex_search with the compiled expression in the C locale, for a line of any
// length and any other bytes. One scan, linear in the length, without recursion and without
// allocation.
using CpuMatcher = bool (*)(std::string_view line, CpuGroups& groups);

struct CpuPattern {
    CpuPattern(const char* expression, CpuMatcher exactMatcher)
        : compiled(expression), match(exactMatcher) {}

    std::regex compiled;  // what `match` is measured against; it recurses, so never for raw lines
    CpuMatcher match;
};

// Names: regexpTimeStamp, regexpTop, regexpTasks, regexpCpu, regexpProcInfo, regexpCoresCpu.
using CpuPatternTable = std::map<std::string, CpuPattern>;

// The table, compiled once, at first use.
[[nodiscard]] const CpuPatternTable& CpuPatterns();

}  // namespace zarn
