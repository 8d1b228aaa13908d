#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string_view>
#include <vector>

#include "analyzers/cpu/cpu_patterns.h"
#include "tests/unit/analyzers/cpu/cpu_oracle.h"

// The exact matchers against the standard library's engine on a million lines nobody would write by
// hand, of which a tenth is drawn unless ZARN_WALK is "all". The lines are short, since that engine
// takes minutes for a hostile line of a few hundred bytes.
namespace zarn {
namespace {

using Random = std::mt19937_64;

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    !defined(ZARN_EMULATED)
constexpr int kLinesDivisor = 1;
#else
constexpr int kLinesDivisor = 32;  // unoptimised, instrumented or emulated code is slower
#endif

std::size_t Below(Random& random, std::size_t bound) {
    return random() % bound;
}

template <typename List>
const auto& Pick(Random& random, const List& list) {
    return list[Below(random, list.size())];
}

const std::vector<std::string>& Templates() {
    static const std::vector<std::string> templates = {
        "20230101120000123",
        "top - 12:00:00 up 1 min,  2 users,  load average: 0.72, 10.32, 0.14",
        "Tasks:  84 total,   1 running,  83 sleeping",
        "%Cpu(s):  1.0 us, 2.5 sy,  0.0 ni,100.0 id, 12 wa,  0.0 hi,  0.1 si,  0.0 st",
        "Cpu10  :  1.0 us, 2.5 sy,  0.0 ni,100.0 id, 12 wa,  0.0 hi,  0.1 si,  0.0 st",
        "    1 root      10 -10   51944  20256   6520 S   0.0   0.1   0:02.70 process_api",
        "  712 ROOT  20 0 1.2g 6 R 99.9 0.1 0:02.70 kworker/R-rcu 12 Web Content",
        "1 A 12  b",
    };
    return templates;
}

// Bytes that decide something in one of the expressions.
std::string DecidingByte(Random& random) {
    static const std::string bytes =
        std::string("0123456789..  \t\v\f\r,:AZMScpu()-%@[`az/:") + '\0' + '\xff' + '\x85';
    return std::string(1, Pick(random, bytes));
}

// A line of `top` with a few bytes lost, doubled, changed or swapped.
std::string DamagedLine(Random& random) {
    std::string line = Pick(random, Templates());
    for (std::size_t damage = Below(random, 5); damage > 0 && !line.empty(); --damage) {
        const std::size_t at = Below(random, line.size());
        switch (Below(random, 4)) {
            case 0:
                line.erase(at, 1 + Below(random, 4));
                break;
            case 1:
                line.insert(at, DecidingByte(random));
                break;
            case 2:
                line.replace(at, 1, DecidingByte(random));
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
    static const std::vector<std::string> pieces = {" ",
                                                    "  ",
                                                    "\t",
                                                    "\r",
                                                    "\f",
                                                    "\r ",
                                                    " \r",
                                                    "A",
                                                    "S ",
                                                    "AB",
                                                    "0",
                                                    "12",
                                                    "1.5",
                                                    "3.",
                                                    ".4",
                                                    "1.2.3",
                                                    "x",
                                                    "word",
                                                    ",",
                                                    ":",
                                                    "top ",
                                                    "load average:",
                                                    "up",
                                                    "1:2:3",
                                                    "1.0, ",
                                                    "Tasks:",
                                                    "total",
                                                    "Cpu(s):",
                                                    "Cpu3 :",
                                                    "1.0 us,",
                                                    "12345678901234567",
                                                    "Z 00 "};
    std::string line;
    for (std::size_t count = 1 + Below(random, 14); count > 0; --count) {
        line += Pick(random, pieces);
    }
    return line.substr(0, 60);
}

// Few different bytes, so that all the ways to backtrack occur.
std::string DenseLine(Random& random) {
    static const std::vector<std::string> alphabets = {"0A ", "01.A \r", "0. Ax\r", "A0 \t.b"};
    const std::string& alphabet = Pick(random, alphabets);
    std::string line;
    for (std::size_t count = 1 + Below(random, 28); count > 0; --count) {
        line += Pick(random, alphabet);
    }
    return line;
}

std::string AnyBytes(Random& random) {
    std::string line;
    for (std::size_t count = Below(random, 60); count > 0; --count) {
        const auto byte = static_cast<char>(random() & 0xff);
        line += Below(random, 3) == 0 && byte != '\n' ? std::string(1, byte) : DecidingByte(random);
    }
    return line;
}

struct LineKind {
    const char* name;
    std::string (*make)(Random& random);
    int lines;
    std::vector<std::string> mustMatch;  // patterns that lines of the kind are known to hit
};

class CpuMatchersRandomTest : public testing::TestWithParam<LineKind> {};

TEST_P(CpuMatchersRandomTest, AgreeWithTheCompiledExpressions) {
    Random random(20230101120000123U);
    const char* walk = std::getenv("ZARN_WALK");
    const bool all = walk != nullptr && std::string_view(walk) == "all";
    const int lines = GetParam().lines / kLinesDivisor / (all ? 1 : 10);
    for (int i = 0; i < lines; ++i) {
        ASSERT_EQ(test::DifferencesFromOracle(GetParam().make(random)), "");
    }
    for (const std::string& pattern : GetParam().mustMatch) {
        EXPECT_GT(test::MatchesSeen(pattern), lines / 1000) << pattern;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, CpuMatchersRandomTest,
    testing::Values(LineKind{"Damaged",
                             DamagedLine,
                             190000,
                             {"regexpTimeStamp", "regexpTop", "regexpTasks", "regexpCpu",
                              "regexpCoresCpu", "regexpProcInfo"}},
                    LineKind{"Pieced", PiecedLine, 110000, {"regexpTimeStamp", "regexpProcInfo"}},
                    LineKind{"Dense", DenseLine, 500000, {"regexpProcInfo"}},
                    LineKind{"AnyBytes", AnyBytes, 220000, {}}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
}  // namespace zarn
