#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zarn::report {

inline constexpr const char* kUsage =
    "usage: zarn-report RUN [RUN...] [-o FILE]\n"
    "Makes one HTML page of what runs of zarn left, to be opened from disk.\n"
    "  RUN        a run directory of zarn\n"
    "  -o FILE    the page (default: report.html)\n"
    "  --help     this text\n"
    "  --version  the program's version";

// What the words behind the program's name ask for.
struct Options {
    enum class Action { Report, Help, Version };

    Action action = Action::Report;
    std::vector<std::string> runs;  // as the user wrote them
    std::string output = "report.html";
};

// None, with what is wrong in `error`, for a call that asks for nothing that can be done. Behind
// "--" every word is a run.
[[nodiscard]] std::optional<Options> ParseOptions(const std::vector<std::string>& words,
                                                  std::string& error);

}  // namespace zarn::report
