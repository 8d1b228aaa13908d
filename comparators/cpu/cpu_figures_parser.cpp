#include "comparators/cpu/cpu_figures_parser.h"

#include <utility>

#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kLoads = 3;
constexpr std::size_t kRowTokens = 11;
constexpr std::string_view kUsedKind = "used.";
constexpr double kSecondsPerMinute = 60.0;
constexpr double kMillisecondsPerSecond = 1000.0;

// Figures of one line, by index in kSystemFigures, until the line has proved whole.
using FoundFigures = std::vector<std::pair<std::size_t, double>>;

constexpr std::size_t IndexOf(std::string_view figureName) {
    std::size_t index = 0;
    while (kSystemFigures[index].name != figureName) {
        ++index;
    }
    return index;
}

constexpr std::size_t kFirstLoad = IndexOf("load_avg_1_min");
constexpr std::size_t kAvailable = IndexOf("swap_avail");

std::optional<std::size_t> FindFigure(SummaryLine line, std::string_view kind) {
    for (std::size_t i = 0; i < kSystemFigures.size(); ++i) {
        if (kSystemFigures[i].line == line && kSystemFigures[i].kind == kind) {
            return i;
        }
    }
    return std::nullopt;
}

bool TakeNumber(PieceCursor& cursor, double& value) {
    std::string_view piece;
    return cursor.Next(piece) && TextToDouble(TrimSpacesView(piece), value);
}

// The piece behind the last colon that ends none.
bool ParseLoads(std::string_view line, FoundFigures& found) {
    const std::string_view pieces = line.substr(0, line.find_last_not_of(':') + 1);
    PieceCursor loads(pieces.substr(pieces.rfind(':') + 1), ',');
    double value = 0.0;
    for (std::size_t i = 0; i < kLoads; ++i) {
        if (!TakeNumber(loads, value)) {
            return false;
        }
        found.emplace_back(kFirstLoad + i, value);
    }
    return true;
}

// The available memory, printed behind the point of the swap line's last part.
bool ParseAvailable(std::string_view behindPoint, FoundFigures& found) {
    double value = 0.0;
    PieceCursor tokens(behindPoint, ' ');
    if (!TakeNumber(tokens, value)) {
        return false;
    }
    found.emplace_back(kAvailable, value);
    return true;
}

// One "<number> <kind>".
std::optional<SummaryFailure> ParsePart(SummaryLine line, std::string_view part,
                                        FoundFigures& found) {
    PieceCursor tokens(part, ' ');
    std::string_view number;
    std::string_view kind;
    if (!tokens.Next(number) || !tokens.Next(kind)) {
        return SummaryFailure{};
    }
    // A wide number may follow the point without a blank.
    const bool isUsed = line == SummaryLine::Swap && StartsWith(kind, kUsedKind);
    const std::optional<std::size_t> figure = FindFigure(line, isUsed ? kUsedKind : kind);
    if (!figure) {
        return SummaryFailure{kind};
    }
    double value = 0.0;
    if (!TextToDouble(number, value)) {
        return SummaryFailure{};
    }
    found.emplace_back(*figure, value);
    const auto behindPoint = static_cast<std::size_t>(kind.data() - part.data()) + kUsedKind.size();
    if (isUsed && !ParseAvailable(part.substr(behindPoint), found)) {
        return SummaryFailure{};
    }
    return std::nullopt;
}

std::optional<SummaryFailure> ParseParts(SummaryLine line, std::string_view text,
                                         FoundFigures& found) {
    PieceCursor pieces(text, ':');
    std::string_view figures;
    if (!pieces.Next(figures) || !pieces.Next(figures)) {
        return SummaryFailure{};
    }
    PieceCursor parts(figures, ',');
    std::string_view part;
    while (parts.Next(part)) {
        if (const auto failure = ParsePart(line, part, found)) {
            return failure;
        }
    }
    return std::nullopt;
}

// Takes minutes and seconds to milliseconds.
TimeFailure ParseTime(std::string_view text, double& milliseconds) {
    PieceCursor pieces(text, ':');
    std::string_view minutesText;
    std::string_view secondsText;
    std::string_view surplus;
    if (!pieces.Next(minutesText) || !pieces.Next(secondsText) || pieces.Next(surplus)) {
        return TimeFailure::Time;
    }
    double minutes = 0.0;
    double seconds = 0.0;
    if (!TextToDouble(minutesText, minutes)) {
        return TimeFailure::Minutes;
    }
    if (!TextToDouble(secondsText, seconds)) {
        return TimeFailure::Seconds;
    }
    milliseconds = (minutes * kSecondsPerMinute + seconds) * kMillisecondsPerSecond;
    return TimeFailure::None;
}

}  // namespace

std::optional<SummaryFailure> ParseSummaryLine(SummaryLine kind, std::string_view line,
                                               SystemValues& values) {
    FoundFigures found;
    std::optional<SummaryFailure> failure;
    if (kind != SummaryLine::Load) {
        failure = ParseParts(kind, line, found);
    } else if (!ParseLoads(line, found)) {
        failure = SummaryFailure{};
    }
    if (!failure) {
        for (const auto& [index, value] : found) {
            values[index].push_back(value);
        }
    }
    return failure;
}

TimeFailure ParseProcessRow(std::string_view row, ProcessValues& values) {
    std::array<std::string_view, kRowTokens> tokens;
    PieceCursor cursor(row, ' ');
    for (std::string_view& token : tokens) {
        if (!cursor.Next(token)) {
            return TimeFailure::None;
        }
    }
    TimeFailure failure = TimeFailure::None;
    for (std::size_t i = 0; i < kProcessFigures.size(); ++i) {
        const std::size_t index = kProcessFigures[i].token;
        double value = 0.0;
        bool read = false;
        if (index == kTimeToken) {
            failure = ParseTime(tokens[index], value);
            read = failure == TimeFailure::None;
        } else {
            read = TextToDouble(tokens[index], value);
        }
        if (read) {
            values[i].push_back(value);
        }
    }
    return failure;
}

}  // namespace zarn
