#include "benchmarks/support/perf_text_generator.h"

#include "benchmarks/support/generator.h"

namespace zarn::bench {
namespace {

constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyz_";
constexpr std::size_t kHundredths = 10000;

// The text of the given width, or longer.
std::string Right(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string Left(std::string text, std::size_t width) {
    text.resize(text.size() < width ? width : text.size(), ' ');
    return text;
}

std::string Percent(Generator& random) {
    const std::string digits = std::to_string(kHundredths + random.Below(kHundredths));
    const std::string whole = digits.substr(1, 2);
    return (whole[0] == '0' ? whole.substr(1) : whole) + "." + digits.substr(3) + "%";
}

std::string Symbol(Generator& random) {
    return "planner::" + random.Text(8 + random.Below(40), kLetters);
}

std::string Command(Generator& random) {
    return "service_" + std::to_string(random.Below(20));
}

}  // namespace

std::string PerfTextGenerator::Report(std::size_t rows) const {
    Generator random(seed_);
    std::string text =
        "# Samples: 1M of event 'cycles'\n#\n# Children      Self  Command     Shared Object  "
        "Symbol\n# ........  ........  ..........  .............  ......\n#\n";
    for (std::size_t i = 0; i < rows; ++i) {
        const std::string symbol = Symbol(random);
        text += Right(Percent(random), 10) + Right(Percent(random), 10) + "  " +
                Left(Command(random), 10) + "  libplanner.so  [.] " + Left(symbol, 60) + "\n" +
                "            |\n            ---__libc_start_call_main\n               |\n" +
                "               --" + Percent(random) + "--" + symbol + "\n\n";
    }
    return text;
}

std::string PerfTextGenerator::Script(std::size_t lines) const {
    constexpr std::size_t kLinesOfASample = 10;
    Generator random(seed_);
    std::string text;
    for (std::size_t i = 0; i < lines; ++i) {
        if (i % kLinesOfASample == 0) {
            text += Command(random) + " " + std::to_string(1000 + random.Below(30000)) + " [00" +
                    std::to_string(random.Below(8)) + "] 11555." +
                    std::to_string(100000 + random.Below(900000)) + ":     " +
                    std::to_string(1 + random.Below(250000)) + " cycles: \n";
        } else if (i % kLinesOfASample == kLinesOfASample - 1) {
            text += "\n";
        } else {
            text += "\t    " + random.Text(12, "0123456789abcdef") + " " + Symbol(random) +
                    "+0x1e (/usr/lib/libplanner.so)\n";
        }
    }
    return text;
}

std::string PerfTextGenerator::Diff(std::size_t rows) const {
    constexpr unsigned kMissingPercent = 10;
    Generator random(seed_);
    std::string text =
        "# Event 'cycles'\n#\n# Baseline  Delta Abs  Shared Object  Symbol          \n"
        "# ........  .........  .............  ................\n#\n";
    for (std::size_t i = 0; i < rows; ++i) {
        const std::string baseline = random.Chance(kMissingPercent) ? "" : Percent(random);
        const std::string delta = random.Chance(kMissingPercent) ? "" : "+" + Percent(random);
        text += Right(baseline, 10) + Right(delta, 11) + "  libplanner.so  [.] " +
                Left(Symbol(random), 60) + "\n";
    }
    return text;
}

}  // namespace zarn::bench
