#include "collectors/profiling/hot_fun/report_rows.h"

#include <algorithm>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
// What a dot does not match; a newline never stands in a line.
constexpr char kCarriageReturn = '\r';

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

// What \s matches.
bool IsSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

std::size_t DigitsBegin(std::string_view line, std::size_t end) {
    while (end > 0 && IsDigit(line[end - 1])) {
        --end;
    }
    return end;
}

std::size_t SpacesEnd(std::string_view line, std::size_t begin) {
    while (begin < line.size() && IsSpace(line[begin])) {
        ++begin;
    }
    return begin;
}

// The last white space before `end`; kNone if there is none.
std::size_t LastSpaceBefore(std::string_view line, std::size_t end) {
    while (end > 0 && !IsSpace(line[end - 1])) {
        --end;
    }
    return end == 0 ? kNone : end - 1;
}

// Where the number before the percent sign at `sign` begins: digits, with a point before, within or
// behind them; kNone if there is none.
std::size_t NumberBegin(std::string_view line, std::size_t sign) {
    const std::size_t behindPoint = DigitsBegin(line, sign);
    if (behindPoint > 0 && line[behindPoint - 1] == '.') {
        const std::size_t point = behindPoint - 1;
        const std::size_t whole = DigitsBegin(line, point);
        if (whole < point) {
            return whole;
        }
        return behindPoint < sign ? point : kNone;
    }
    return behindPoint < sign ? behindPoint : kNone;
}

// Where a match that goes on with white space at `begin` ends: each part takes as much as leaves
// something to those behind it. `beforeLast` and `last` are the last two bytes of white space in
// the line, which the second and the third \s+ need.
std::size_t MatchEnd(std::string_view line, std::size_t begin, std::size_t beforeLast,
                     std::size_t last) {
    const auto lineEnd = [line](std::size_t from) {
        return std::min(line.find(kCarriageReturn, from), line.size());
    };
    const std::size_t firstEnd = std::min(SpacesEnd(line, begin), beforeLast);
    const std::size_t second = LastSpaceBefore(line, std::min(lineEnd(firstEnd) + 1, last));
    const std::size_t secondEnd = std::min(SpacesEnd(line, second), last);
    const std::size_t third = LastSpaceBefore(line, std::min(lineEnd(secondEnd) + 1, line.size()));
    return lineEnd(SpacesEnd(line, third));
}

}  // namespace

std::optional<std::string_view> FindReportRow(std::string_view line) {
    std::size_t sign = line.find('%');
    if (sign == kNone) {
        return std::nullopt;
    }
    const std::size_t last = LastSpaceBefore(line, line.size());
    const std::size_t beforeLast = last == kNone ? kNone : LastSpaceBefore(line, last);
    if (beforeLast == kNone) {
        return std::nullopt;
    }
    // The first \s+ stands before the other two.
    while (sign != kNone && sign + 1 < beforeLast) {
        const std::size_t begin = IsSpace(line[sign + 1]) ? NumberBegin(line, sign) : kNone;
        if (begin != kNone) {
            return line.substr(begin, MatchEnd(line, sign + 1, beforeLast, last) - begin);
        }
        sign = line.find('%', sign + 1);
    }
    return std::nullopt;
}

void ReportRows::Add(std::string_view match) {
    constexpr std::uint32_t kWordsOfARow = 5;
    constexpr std::uint32_t kOwnShare = 2;  // which rows do not show
    PieceCursor cursor(match, ' ');
    for (std::string_view word; count_ < most_ && cursor.Next(word);) {
        if (word == "[k]" || word == "[.]") {
            continue;
        }
        ++position_;
        if (position_ != kOwnShare) {
            words_.append(word).push_back(' ');
        }
        if (position_ == kWordsOfARow) {
            position_ = 0;
            ++count_;
        }
    }
}

void ReportRows::ForEach(const std::function<void(const ReportRow&)>& take) const {
    PieceCursor cursor(words_, ' ');
    for (std::uint32_t i = 0; i < count_; ++i) {
        ReportRow row;
        cursor.Next(row.percentage);
        cursor.Next(row.command);
        cursor.Next(row.sharedObject);
        cursor.Next(row.symbol);
        take(row);
    }
}

}  // namespace zarn
