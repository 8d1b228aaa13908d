#include <cmath>
#include <regex>
#include <string>

#include "collectors/profiling/hot_fun/function_sets.h"
#include "collectors/profiling/hot_fun/script_samples.h"
#include "foundation/files.h"
#include "foundation/regex_guard.h"
#include "fuzz/fuzz_input.h"

namespace {

constexpr std::size_t kMostForTheExpression = 60;

}  // namespace

// What `perf script` prints: heads as the expression decides short lines, and shares of a set that
// means every name come to all cycles.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    static const std::regex pattern(R"(.*[0-9]+\s+cycles:)");
    zarn::FunctionSets sets;
    (void)sets.AddSet("all");
    sets.Add("all", "x*");
    (void)sets.AddSet("one");
    sets.Add("one", "app");
    std::string error;
    auto cycles = zarn::FunctionCycles::Make(sets, error);
    Require(cycles.has_value(), "the pattern compiles");
    zarn::LineCursor cursor(zarn::fuzz::AsText(data, size));
    bool names = false;
    bool longNames = false;
    for (std::string_view line; cursor.Next(line);) {
        const auto head = zarn::FindSampleHead(line);
        if (line.size() <= kMostForTheExpression) {
            zarn::ViewMatch expected;
            Require(zarn::SearchGuarded(line, pattern, expected) == head.has_value() &&
                        (!head || head->text == expected.str()),
                    "the expression agrees");
        }
        if (!head) {
            continue;
        }
        Require(head->text.substr(0, head->name.size()) == head->name && !head->digits.empty(),
                "a head holds a name and a count");
        // Small, so that no sum loses a digit.
        cycles->Add(head->name, head->digits.size());
        names = true;
        longNames = longNames || head->name.size() > zarn::kMaxRegexText;
    }
    const auto shares = cycles->Shares();
    const double total = shares.at("all").total;
    Require(names ? longNames || std::abs(total - 100.0) < 1e-6 : std::isnan(total),
            "a set of all names has all cycles");
    return 0;
}
