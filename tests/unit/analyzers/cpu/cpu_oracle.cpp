#include "tests/unit/analyzers/cpu/cpu_oracle.h"

#include <map>

#include "analyzers/cpu/cpu_patterns.h"

namespace zarn::test {
namespace {

using OracleMatch = std::match_results<std::string_view::const_iterator>;

std::map<std::string, int>& Seen() {
    static std::map<std::string, int> seen;
    return seen;
}

std::string Show(std::string_view text) {
    std::string shown = "\"";
    for (const char c : text) {
        if (c >= ' ' && c <= '~') {
            shown.push_back(c);
        } else {
            shown += "<" + std::to_string(static_cast<unsigned char>(c)) + ">";
        }
    }
    return shown + "\"";
}

bool SameGroup(std::string_view line, const OracleMatch& oracle, const CpuGroups& groups,
               std::size_t group) {
    return groups[group].data() == line.data() + oracle.position(group) &&
           groups[group].size() == static_cast<std::size_t>(oracle.length(group));
}

std::string Difference(const std::string& name, const CpuPattern& pattern, std::string_view line) {
    OracleMatch oracle;
    CpuGroups groups;
    const bool expected = std::regex_search(line.begin(), line.end(), oracle, pattern.compiled);
    const bool found = pattern.match(line, groups);
    Seen()[name] += expected ? 1 : 0;
    if (found != expected) {
        return name + (expected ? " must match " : " must not match ") + Show(line) + "\n";
    }
    std::string differences;
    for (std::size_t group = 0; found && group < oracle.size(); ++group) {
        if (!SameGroup(line, oracle, groups, group)) {
            differences += name + " group " + std::to_string(group) + " of " + Show(line) +
                           " must be " + Show(oracle.str(group)) + ", is " + Show(groups[group]) +
                           "\n";
        }
    }
    return differences;
}

}  // namespace

std::string DifferencesFromOracle(std::string_view line) {
    std::string differences;
    for (const auto& [name, pattern] : CpuPatterns()) {
        differences += Difference(name, pattern, line);
    }
    return differences;
}

int MatchesSeen(const std::string& pattern) {
    return Seen()[pattern];
}

}  // namespace zarn::test
