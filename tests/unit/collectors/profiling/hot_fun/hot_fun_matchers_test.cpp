#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/profiling/hot_fun/report_rows.h"
#include "collectors/profiling/hot_fun/script_samples.h"
#include "foundation/files.h"
#include "foundation/regex_guard.h"
#include "tests/support/temp_dir.h"

// The exact matchers against the standard library's engine: on what perf printed, and on a million
// lines nobody would write by hand, of which a tenth is drawn unless ZARN_WALK is "all".
namespace zarn {
namespace {

using Random = std::mt19937_64;

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    !defined(ZARN_EMULATED)
constexpr int kLinesDivisor = 1;
#else
constexpr int kLinesDivisor = 32;  // unoptimised, instrumented or emulated code is slower
#endif

const std::regex& ReportPattern() {
    static const std::regex pattern(R"((?=\.\d|\d)(?:\d+)?(?:\.?\d*)%\s+.*\s+.*\s+.*)");
    return pattern;
}

const std::regex& HeadPattern() {
    static const std::regex pattern(R"(.*[0-9]+\s+cycles:)");
    return pattern;
}

const std::regex& CountPattern() {
    static const std::regex pattern(R"([0-9]+\s+cycles:)");
    return pattern;
}

std::string Shown(std::optional<std::string_view> text) {
    return text ? "\"" + testing::PrintToString(std::string(*text)) + "\"" : "none";
}

std::optional<std::string> Found(std::string_view text, const std::regex& pattern) {
    ViewMatch match;
    return SearchGuarded(text, pattern, match) ? std::optional<std::string>(match.str())
                                               : std::nullopt;
}

// What the matchers say otherwise than the expressions; empty if nothing.
std::string Differences(std::string_view line) {
    std::string differences;
    const auto compare = [&](const char* what, std::optional<std::string_view> ours,
                             std::optional<std::string_view> expected) {
        if (ours != expected) {
            differences += std::string(what) + ": " + Shown(ours) + ", not " + Shown(expected) +
                           ", in " + Shown(line) + "\n";
        }
    };
    compare("row", FindReportRow(line), Found(line, ReportPattern()));
    const std::optional<SampleHead> head = FindSampleHead(line);
    const std::optional<std::string> text = Found(line, HeadPattern());
    compare("head", head ? std::optional<std::string_view>(head->text) : std::nullopt, text);
    if (head && text) {
        compare("name", head->name, std::string_view(*text).substr(0, text->find(' ')));
        const std::optional<std::string> count = Found(*text, CountPattern());
        compare("count", head->digits,
                std::string_view(*count).substr(0, count->find_first_not_of("0123456789")));
    }
    return differences;
}

std::size_t Below(Random& random, std::size_t bound) {
    return random() % bound;
}

template <typename List>
const auto& Pick(Random& random, const List& list) {
    return list[Below(random, list.size())];
}

// A line of perf with a few bytes lost, doubled, changed or put in.
std::string DamagedLine(Random& random) {
    static const std::vector<std::string> templates = {
        "    64.15%    21.50%  planner_node  libc.so.6  [.] std::map<int, a b>",
        "     0.06%     0.00%  app  [kernel.kallsyms]     [k] handle",
        "            |--5.00%--main a b",
        "planner_node 12009 11581.577997:     250000 cycles: ",
        "swapper     0 [000] 1.5:  1 cycles:HG:  7 cycles: ",
        "app 1 2.0:   3 cpu-clock: "};
    static const std::string bytes =
        std::string("0123456789..  \t\v\f\r\r%%cycles:  :") + '\0' + '\xff' + '\x85';
    std::string line = Pick(random, templates);
    for (std::size_t damage = Below(random, 6); damage > 0 && !line.empty(); --damage) {
        const std::size_t at = Below(random, line.size());
        switch (Below(random, 4)) {
            case 0:
                line.erase(at, 1 + Below(random, 8));
                break;
            case 1:
                line.insert(at, 1, Pick(random, bytes));
                break;
            case 2:
                line[at] = Pick(random, bytes);
                break;
            default:
                line.insert(at, line.substr(Below(random, line.size()), Below(random, 12)));
                break;
        }
    }
    return line.substr(0, 96);
}

// Pieces of the expressions in any order.
std::string PiecedLine(Random& random) {
    static const std::vector<std::string> pieces = {
        " ",        "  ",        "\t",         "\r",         "\f",       "\r ",    " \r",
        "a",        "b c",       "0",          "12",         ".5",       "3.",     ".",
        "1.5",      "1.2.3",     "%",          "%  ",        "4%",       "4% ",    "cycles:",
        " cycles:", "7 cycles:", "8\tcycles:", "9\rcycles:", "5cycles:", "cycles", ":"};
    std::string line;
    for (std::size_t count = 1 + Below(random, 14); count > 0; --count) {
        line += Pick(random, pieces);
    }
    return line.substr(0, 60);
}

// Few different bytes, so that all the ways to backtrack occur.
std::string DenseLine(Random& random) {
    static const std::vector<std::string> alphabets = {"0% ", "01.% \r", "0.% a\r", "5%\t.b\r "};
    static const std::vector<std::string> heads = {"1 cycles:", "cycles:", " ", "\r", "2", "x"};
    std::string line;
    if (Below(random, 4) == 0) {
        for (std::size_t count = 1 + Below(random, 8); count > 0; --count) {
            line += Pick(random, heads);
        }
        return line;
    }
    const std::string& alphabet = Pick(random, alphabets);
    for (std::size_t count = 1 + Below(random, 24); count > 0; --count) {
        line += Pick(random, alphabet);
    }
    return line;
}

std::string AnyBytes(Random& random) {
    std::string line;
    for (std::size_t count = Below(random, 60); count > 0; --count) {
        const auto byte = static_cast<char>(random() & 0xff);
        line += byte == '\n' ? PiecedLine(random) : std::string(1, byte);
        line += Below(random, 8) == 0 ? PiecedLine(random) : "";
    }
    return line.substr(0, 80);
}

struct LineKind {
    const char* name;
    std::string (*make)(Random& random);
    int lines;
    bool mustMatch;  // both expressions, now and then
};

class HotFunMatchersRandomTest : public testing::TestWithParam<LineKind> {};

TEST_P(HotFunMatchersRandomTest, AgreeWithTheCompiledExpressions) {
    Random random(20230101120000123U);
    const char* walk = std::getenv("ZARN_WALK");
    const bool all = walk != nullptr && std::string_view(walk) == "all";
    const int lines = GetParam().lines / kLinesDivisor / (all ? 1 : 10);
    int rows = 0;
    int heads = 0;
    for (int i = 0; i < lines; ++i) {
        const std::string line = GetParam().make(random);
        ASSERT_EQ(Differences(line), "");
        rows += FindReportRow(line) ? 1 : 0;
        heads += FindSampleHead(line) ? 1 : 0;
    }
    if (GetParam().mustMatch) {
        EXPECT_GT(rows, lines / 100);
        EXPECT_GT(heads, lines / 100);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, HotFunMatchersRandomTest,
                         testing::Values(LineKind{"Damaged", DamagedLine, 300000, true},
                                         LineKind{"Pieced", PiecedLine, 250000, true},
                                         LineKind{"Dense", DenseLine, 300000, true},
                                         LineKind{"AnyBytes", AnyBytes, 150000, false}),
                         [](const auto& instance) { return instance.param.name; });

TEST(HotFunMatchersTest, AgreeOnWhatPerfPrints) {
    for (const char* name :
         {"report.txt", "script.txt", "script_other_event.txt", "diff_two.txt", "diff_three.txt"}) {
        const std::string text =
            test::ReadText(test::DataPath(std::string("perf-6.1.187-profile/") + name));
        LineCursor cursor(text);
        int lines = 0;
        for (std::string_view line; cursor.Next(line); ++lines) {
            if (line.size() <= kMaxRegexText) {
                EXPECT_EQ(Differences(line), "");
            }
            // A symbol of any length is decided by what stands at its begin.
            EXPECT_EQ(Differences(line.substr(0, 400)), "");
        }
        EXPECT_GT(lines, 10) << name;
    }
}

// Words at which a part gives something back to those behind it.
TEST(HotFunMatchersTest, AgreeOnLinesByHand) {
    for (const char* line : {"",
                             "%",
                             "5%",
                             "5% a b",
                             "5% a b c",
                             "5%   ",
                             "5%  a ",
                             "5% \r\r",
                             "5%\r\r\r\rx",
                             "5% a\rb\rc\rd",
                             "5% a b c\r",
                             "5% a b c\rd e",
                             ".5% a b c",
                             "5.% a b c",
                             ".% a b c",
                             "1.2.3% a b c",
                             "x 5%a 6% b c d",
                             "5% a 6% b c",
                             "5 % a b c",
                             "5%\ta\vb\fc",
                             "1 cycles:",
                             "1cycles:",
                             "a 1 cycles: 2 cycles: x",
                             "a\rb 1 cycles:",
                             "a 1 cycles:\rb 2 cycles:",
                             "a 1\rcycles:",
                             "a 1\r cycles: 2 cycles:",
                             "12\tcycles:",
                             " 1 cycles:",
                             "a 1 2 cycles:",
                             "cycles:",
                             "1 cycles:cycles:",
                             "1 cycles: cycles:",
                             "1 cyclescycles:"}) {
        EXPECT_EQ(Differences(line), "");
    }
}

}  // namespace
}  // namespace zarn
