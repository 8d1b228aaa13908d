#include "analyzers/aicpu/core_sections.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "analyzers/aicpu/section_values.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kPoolPieces = 6;
constexpr std::size_t kNumbersOfProcess = 3;
constexpr std::uint64_t kGreatestCore = std::numeric_limits<std::int32_t>::max();

bool IsDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether the line is digits, a name that may hold commas, and three numbers, between commas: the
// verdict of "^[0-9]+,.+,[0-9]+,[0-9]+,[0-9]+$".
bool IsProcess(std::string_view line) {
    const std::size_t first = line.find(',');
    if (first == std::string_view::npos || !IsDigits(line.substr(0, first))) {
        return false;
    }
    std::string_view name = line.substr(first + 1);
    for (std::size_t i = 0; i < kNumbersOfProcess; ++i) {
        const std::size_t comma = name.rfind(',');
        if (comma == std::string_view::npos || !IsDigits(name.substr(comma + 1))) {
            return false;
        }
        name = name.substr(0, comma);
    }
    return !name.empty() && name.find('\r') == std::string_view::npos;
}

}  // namespace

std::optional<PoolFigures> ParsePool(std::string_view text) {
    std::vector<std::string_view> pieces;
    SplitViews(text, ":", pieces);
    if (pieces.size() != kPoolPieces) {
        return std::nullopt;
    }
    return PoolFigures{std::string(pieces[0]), std::string(pieces[1]), std::string(pieces[4]),
                       std::string(pieces[5])};
}

void NodePoolReader::BeginPass() {
    lines_ = 0;
    pool_.reset();
}

void NodePoolReader::Take(std::string_view line) {
    if (++lines_ == 2) {
        pool_ = ParsePool(line);
    }
}

void ProcListReader::Take(std::string_view line) {
    if (!IsProcess(line)) {
        return;
    }
    std::vector<std::string_view> pieces;
    SplitViews(line, ",", pieces);
    rows_.push_back({std::string(pieces[0]), std::string(pieces[1]), std::string(pieces[2]),
                     std::string(pieces[3])});
}

void CorePoolsReader::BeginPass() {
    lines_ = 0;
    good_ = true;
    rows_.clear();
}

void CorePoolsReader::Take(std::string_view line) {
    if (++lines_ < 2) {
        return;
    }
    std::vector<std::string_view> pieces;
    SplitViews(line, ",", pieces);
    const std::optional<std::uint64_t> core =
        pieces.size() == 2 ? WholeNumber(pieces[0]) : std::nullopt;
    if (!core || *core > kGreatestCore || static_cast<std::int64_t>(*core) < min_ ||
        static_cast<std::int64_t>(*core) > max_) {
        return;
    }
    if (std::optional<PoolFigures> pool = ParsePool(pieces[1])) {
        rows_.push_back({*core, std::move(*pool)});
    } else {
        good_ = false;
    }
}

}  // namespace zarn
