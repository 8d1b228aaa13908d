#include "optimizer/benchmark/stress_log_parser.h"

#include <charconv>
#include <regex>
#include <string>
#include <system_error>

#include "foundation/files.h"
#include "foundation/regex_guard.h"

namespace zarn {
namespace {

// One result line, in pairs of name and frame rate. Built once, at the first use.
const std::regex& StressPerfRegex() {
    static const std::regex stressPerfRegex(
        R"(^(aic)Stress : (\d+\.\d+) fps. (cpu)Stress : (\d+\.\d+) fps. )"
        R"(imgpVencStress : \d+\.\d+ fps. (imgp)VpcStress : (\d+\.\d+) fps. )"
        R"((isp)Stress : (\d+\.\d+) fps.)");
    return stressPerfRegex;
}

bool ParseResultLine(std::string_view line, PerfMap& perf) {
    // A match begins at the line's start, so the head of a long line decides it.
    const std::string_view head = line.substr(0, kMaxRegexText);
    ViewMatch match;
    if (!SearchGuarded(head, StressPerfRegex(), match)) {
        return false;
    }
    for (std::size_t i = 1; i + 1 < match.size(); i += 2) {
        const std::string digits = match.str(i + 1);
        double rate = 0.0;
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), rate);
        if (result.ec != std::errc()) {
            return false;
        }
        perf[match.str(i)].push_back(rate);
    }
    return true;
}

}  // namespace

bool ParseStressLog(std::string_view text, PerfMap& perf) {
    LineCursor lines(text);
    std::string_view line;
    for (std::size_t number = 1; number <= kStressLastLine && lines.Next(line); ++number) {
        if (number > kStressHeadLines && !ParseResultLine(line, perf)) {
            return false;
        }
    }
    return true;
}

}  // namespace zarn
