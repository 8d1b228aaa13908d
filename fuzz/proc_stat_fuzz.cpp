#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/system/cpu_peak/core_load.h"
#include "collectors/system/cpu_peak/stat_counts.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"

namespace {

using zarn::fuzz::Require;

// The places of the first `count` lines behind the sum, the plain way.
std::vector<std::string_view> LinesBehindSum(std::string_view text, std::size_t count) {
    std::vector<std::string_view> lines;
    std::size_t at = text.find('\n');
    while (at != std::string_view::npos && at + 1 < text.size() && lines.size() < count) {
        const std::size_t end = text.find('\n', at + 1);
        lines.push_back(text.substr(at + 1, end == std::string_view::npos ? end : end - at - 1));
        at = end;
    }
    return lines;
}

// The sum of the columns as the standard conversion takes them; only called for lines that were
// taken.
std::uint32_t TotalOf(std::string_view line) {
    std::vector<std::string> columns;
    zarn::SplitString(line, " ", columns);
    Require(columns.size() >= 6, "six columns");
    std::uint32_t total = 0;
    for (std::size_t i = 1; i < columns.size(); ++i) {
        total += static_cast<std::uint32_t>(std::stoul(columns[i]));
    }
    return total;
}

void CheckChoice(const std::vector<float>& shares, float limit) {
    const zarn::CoreChoice choice = zarn::ChooseCores(shares, limit);
    std::vector<std::string> numbers;
    zarn::SplitString(choice.busy, ",", numbers);
    std::size_t below = 0;
    for (const float share : shares) {
        below += limit > share ? 1 : 0;
    }
    Require(numbers.size() == below, "those below the limit are busy");
    for (const std::string& number : numbers) {
        Require(limit > shares.at(std::stoul(number)), "a busy core is below the limit");
    }
    if (choice.quiet) {
        Require(shares.at(*choice.quiet) >= limit, "a quiet core is not busy");
        for (const float share : shares) {
            Require(share <= shares[*choice.quiet], "none is more idle");
        }
    }
}

}  // namespace

// Two texts of /proc/stat, parted by a NUL, of any bytes: the first byte is how many cores there
// are said to be, the second the limit. What is read is what a plain reading finds, and the choice
// of cores holds together.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const std::size_t cores = data[0];
    const std::string_view both = zarn::fuzz::AsText(data + 2, size - 2);
    const std::string_view first = both.substr(0, both.find('\0'));
    const std::string_view second =
        first.size() == both.size() ? first : both.substr(first.size() + 1);
    std::vector<zarn::CoreCounts> before;
    std::vector<zarn::CoreCounts> after;
    const zarn::StatResult result = zarn::ParseStatCounts(first, cores, before);
    const std::vector<std::string_view> lines = LinesBehindSum(first, cores);
    Require(before.size() <= lines.size(), "a line for each core");
    Require(result != zarn::StatResult::Ok || before.size() == cores ||
                lines.at(before.size()).find("intr") != std::string_view::npos,
            "all cores, or those before the line behind them");
    for (std::size_t i = 0; i < before.size(); ++i) {
        Require(before[i].total == TotalOf(lines[i]), "the sum of the columns");
    }
    (void)zarn::ParseStatCounts(second, cores, after);
    std::vector<float> shares;
    const bool whole = zarn::IdleShares(before, after, shares);
    Require(shares.size() <= std::min(before.size(), after.size()), "cores of both readings");
    Require(!whole || shares.size() == std::min(before.size(), after.size()), "all of them");
    CheckChoice(shares, static_cast<float>(data[1]) / 200.0F);
    return 0;
}
