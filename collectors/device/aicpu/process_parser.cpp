#include "collectors/device/aicpu/process_parser.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <regex>
#include <string_view>
#include <system_error>

#include "foundation/regex_guard.h"
#include "foundation/text.h"

namespace zarn {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// The digits at the head of `text`.
std::string_view DigitsOf(std::string_view text) {
    const auto* end = std::find_if_not(text.begin(), text.end(), IsDigit);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

Lookup NumberAt(std::string_view digits) {
    Lookup result{Lookup::Verdict::Found, 0, ""};
    if (std::from_chars(digits.data(), digits.data() + digits.size(), result.value).ec !=
        std::errc()) {
        result = {Lookup::Verdict::Fault, 0, "stoul"};
    }
    return result;
}

}  // namespace

Lookup FindPid(const std::vector<std::string>& procList, const std::string& name) {
    std::string error;
    const std::optional<std::regex> pattern =
        CompileWithoutBacktracking("^[0-9]+," + name + ",[0-9]+,[0-9]+,[0-9]+$", error);
    if (!pattern) {
        return {};
    }
    const auto found =
        std::find_if(procList.begin(), procList.end(),
                     [&pattern](const std::string& line) { return SearchGuarded(line, *pattern); });
    return found == procList.end() ? Lookup{} : NumberAt(DigitsOf(*found));
}

Lookup FindGroup(const std::vector<std::string>& threadInfo, const AicpuProcess& process) {
    const std::string head = std::to_string(process.core) + "," + std::to_string(process.pid) + ",";
    for (const std::string_view line : threadInfo) {
        if (!StartsWith(line, head)) {
            continue;
        }
        const std::string_view group = DigitsOf(line.substr(head.size()));
        const std::string_view rest = line.substr(head.size() + group.size());
        if (!group.empty() && rest.size() > 1 && rest[0] == ',' && rest[1] != '\r') {
            return NumberAt(group);
        }
    }
    return {};
}

}  // namespace zarn
