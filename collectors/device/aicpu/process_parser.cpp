#include "collectors/device/aicpu/process_parser.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <regex>
#include <system_error>

#include "foundation/files.h"
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

Lookup FindPid(std::string_view procList, const std::string& name) {
    std::string error;
    const std::optional<std::regex> pattern =
        CompileWithoutBacktracking("^[0-9]+," + name + ",[0-9]+,[0-9]+,[0-9]+$", error);
    LineCursor lines(procList);
    for (std::string_view line; pattern && lines.Next(line);) {
        if (SearchGuarded(line, *pattern)) {
            return NumberAt(DigitsOf(line));
        }
    }
    return {};
}

Lookup FindGroup(std::string_view threadInfo, const AicpuProcess& process) {
    const std::string head = std::to_string(process.core) + "," + std::to_string(process.pid) + ",";
    LineCursor lines(threadInfo);
    for (std::string_view line; lines.Next(line);) {
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
