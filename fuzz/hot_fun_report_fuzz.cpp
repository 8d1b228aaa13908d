#include <regex>
#include <string>

#include "collectors/profiling/hot_fun/report_rows.h"
#include "foundation/files.h"
#include "foundation/regex_guard.h"
#include "fuzz/fuzz_input.h"

namespace {

// Beyond this the expression takes minutes for some lines.
constexpr std::size_t kMostForTheExpression = 60;

}  // namespace

// What `perf report` prints: rows as the expression decides short lines, never more than asked for,
// their cells words of the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    static const std::regex pattern(R"((?=\.\d|\d)(?:\d+)?(?:\.?\d*)%\s+.*\s+.*\s+.*)");
    constexpr std::uint32_t kMost = 5;
    zarn::ReportRows rows(kMost);
    zarn::LineCursor cursor(zarn::fuzz::AsText(data, size));
    for (std::string_view line; cursor.Next(line);) {
        const auto match = zarn::FindReportRow(line);
        if (line.size() <= kMostForTheExpression) {
            zarn::ViewMatch expected;
            Require(zarn::SearchGuarded(line, pattern, expected) == match.has_value() &&
                        (!match || *match == expected.str()),
                    "the expression agrees");
        }
        if (match) {
            rows.Add(*match);
        }
    }
    std::uint32_t count = 0;
    rows.ForEach([&count](const zarn::ReportRow& row) {
        ++count;
        for (const std::string_view cell :
             {row.percentage, row.command, row.sharedObject, row.symbol}) {
            Require(!cell.empty() && cell.find(' ') == std::string_view::npos && cell != "[k]" &&
                        cell != "[.]",
                    "a cell is a word");
        }
    });
    Require(count <= kMost, "no more rows than asked for");
    return 0;
}
